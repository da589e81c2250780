#include "app/services/SystemService.h"

#include "app/AppLog.h"
#include "app/services/UserPath.h"
#include "core/AppError.h"

namespace velmora {

Task<> SystemService::openDirectory(std::string path) {
    std::string folder = standardizedPath(path, home_);
    try {
        co_await workspace_.open(std::move(folder));
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        AppLog::command.error("The workspace refused to open a folder");
        throw AppError::recoverable("Finder could not open this folder.");
    }
}

}  // namespace velmora

#include "app/services/SystemService.h"

#include "app/log/AppLog.h"
#include "app/services/UserPath.h"
#include "core/AppError.h"
#include "platform/Power.h"
#include "platform/ScreenLock.h"
#include "platform/Trash.h"
#include "platform/Workspace.h"

namespace velmora {

Task<> SystemService::openDirectory(std::string path) {
    std::string folder = standardizedPath(path, home_);
    try {
        co_await workspace_.openFolder(std::move(folder));
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        AppLog::command.error("The workspace refused to open a folder");
        throw AppError::recoverable("Finder could not open this folder.");
    }
}

Task<> SystemService::sleep() {
    const SessionAnswer answer = co_await power_.sleep();
    if (answer == SessionAnswer::accepted) co_return;
    AppLog::command.error("The computer was not put to sleep");
    if (answer == SessionAnswer::refused) throw AppError::permission("macOS did not allow this sleep request.");
    throw AppError::permission("Power management is unavailable.");
}

Task<> SystemService::emptyTrash() {
    bool isEmpty = false;
    try {
        isEmpty = co_await trash_.empty();
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        isEmpty = false;
    }
    if (isEmpty) co_return;
    AppLog::command.error("The Trash was not emptied");
    throw AppError::permission("Finder could not empty the Trash. Check Automation permissions and try again.");
}

Task<> SystemService::lockScreen() {
    const SessionAnswer answer = co_await screenLock_.lock();
    if (answer == SessionAnswer::accepted) co_return;
    AppLog::command.error("The screen was not locked");
    if (answer == SessionAnswer::unavailable) {
        throw AppError::toolExecution("Could not create the lock-screen event.");
    }
    throw AppError::permission(
        "Enable Velmora in System Settings → Privacy & Security → Accessibility to lock the screen.");
}

}  // namespace velmora

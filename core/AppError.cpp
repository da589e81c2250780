#include "core/AppError.h"

#include "core/async/Async.h"

namespace velmora {

std::string AppError::friendly(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const Cancelled&) {
        return "Operation cancelled.";
    } catch (const AppError& error) {
        return error.what();
    } catch (...) {
        return "The operation could not be completed. Please try again or check permissions.";
    }
}

}  // namespace velmora

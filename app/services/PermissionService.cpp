#include "app/services/PermissionService.h"

#include "core/AppError.h"
#include "core/Assert.h"

namespace velmora {

Task<> PermissionService::confirm(std::string title, std::string detail) {
    VELMORA_ASSERT_MAIN();
    const bool allowed = co_await alerts_.confirm(std::move(title), std::move(detail));
    if (!allowed) throw AppError::permission("The operation was cancelled.");
}

Task<> PermissionService::authorize(ActionRole role, std::string title, std::string detail) {
    if (role == ActionRole::destructive) co_await confirm(std::move(title), std::move(detail));
}

}  // namespace velmora

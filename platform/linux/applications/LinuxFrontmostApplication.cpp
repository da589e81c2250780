#include "platform/linux/applications/LinuxFrontmostApplication.h"

#include "platform/linux/applications/LinuxApplicationBundles.h"
#include "platform/linux/x11/X11Session.h"

namespace velmora {

LinuxFrontmostApplication::LinuxFrontmostApplication(const Executor& pool, X11Session* session,
                                                     std::shared_ptr<const LinuxApplicationBundles> applications)
    : actor_(pool), session_(session), applications_(std::move(applications)) {}

Task<std::optional<std::string>> LinuxFrontmostApplication::bundleIdentifier() {
    if (!session_) co_return std::nullopt;
    const std::vector<std::string> classes = co_await session_->activeWindowClasses();
    if (classes.empty()) co_return std::nullopt;
    const auto work = [&classes, applications = applications_] { return applications->findByWindow(classes); };
    co_return co_await actor_.run(work);
}

}  // namespace velmora

#include "platform/linux/applications/LinuxFrontmostApplication.h"

#include "platform/linux/applications/Glib.h"
#include "platform/linux/applications/WindowClassIndex.h"
#include "platform/linux/x11/X11Session.h"

#include <gio/gdesktopappinfo.h>

#include <chrono>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto freshFor = 5min;

std::string_view textOf(const char* text) {
    return text ? std::string_view(text) : std::string_view();
}

WindowClassIndex installedApplications() {
    constexpr std::string_view ending = ".desktop";
    WindowClassIndex index;
    GList* const all = g_app_info_get_all();
    for (const GList* item = all; item; item = item->next) {
        const glib::Object<GAppInfo> application(G_APP_INFO(item->data));
        std::string_view id = textOf(g_app_info_get_id(application.get()));
        if (id.ends_with(ending)) id.remove_suffix(ending.size());
        index.add(id, textOf(g_desktop_app_info_get_startup_wm_class(G_DESKTOP_APP_INFO(application.get()))));
    }
    g_list_free(all);
    return index;
}

}  // namespace

/// The installed applications as they were last read. Used by one piece of work at a time.
class LinuxFrontmostApplication::Applications {
  public:
    std::optional<std::string> find(const std::vector<std::string>& classes) {
        const auto now = std::chrono::steady_clock::now();
        if (!readAt_ || now - *readAt_ > freshFor) {
            index_ = installedApplications();
            readAt_ = now;
        }
        return index_.find(classes);
    }

  private:
    std::optional<std::chrono::steady_clock::time_point> readAt_;
    WindowClassIndex index_;
};

LinuxFrontmostApplication::LinuxFrontmostApplication(const Executor& pool, X11Session* session)
    : actor_(pool), session_(session), applications_(std::make_shared<Applications>()) {}

LinuxFrontmostApplication::~LinuxFrontmostApplication() = default;

Task<std::optional<std::string>> LinuxFrontmostApplication::bundleIdentifier() {
    if (!session_) co_return std::nullopt;
    const std::vector<std::string> classes = co_await session_->activeWindowClasses();
    if (classes.empty()) co_return std::nullopt;
    const auto work = [&classes, applications = applications_] { return applications->find(classes); };
    co_return co_await actor_.run(work);
}

}  // namespace velmora

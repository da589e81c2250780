#include "platform/linux/applications/LinuxWorkspace.h"

#include "platform/linux/applications/DesktopEntry.h"
#include "platform/linux/applications/DetachedProcess.h"
#include "platform/linux/applications/ExecLine.h"
#include "platform/linux/applications/Glib.h"
#include "platform/linux/applications/PropertyList.h"
#include "platform/linux/applications/TerminalEmulator.h"
#include "platform/linux/dbus/DesktopServices.h"

#include <gio/gdesktopappinfo.h>

#include <array>
#include <filesystem>
#include <stdexcept>

namespace velmora {
namespace {

void start(const DesktopEnvironment& environment, std::vector<std::string> arguments, std::string directory,
           const std::string& label, bool inTerminal) {
    auto program = environment.findProgram(arguments.front());
    if (!program) throw std::runtime_error("The application's program is missing");
    arguments.front() = std::move(*program);
    if (inTerminal) {
        const auto terminal = terminalCommand(environment);
        if (!terminal) throw std::runtime_error("No terminal emulator is installed");
        arguments.insert(arguments.begin(), terminal->begin(), terminal->end());
    }
    if (directory.empty()) directory = environment.home;
    const DetachedProcess process{std::move(arguments), std::move(directory), label};
    DesktopServices::moveToOwnScope(process.start(), label);
}

/// Launches a desktop entry. `files` and `urls` are what it is to open, the same things in both forms.
void launchEntry(const DesktopEnvironment& environment, const std::string& path, std::vector<std::string> files,
                 std::vector<std::string> urls, bool mayActivate) {
    const auto entry = DesktopEntry::load(path, environment.languages);
    if (!entry || entry->hidden) throw std::runtime_error("The desktop entry is not an application's");
    const std::string id = std::filesystem::path(path).stem().string();
    if (entry->dbusActivatable && mayActivate) {
        if (DesktopServices::activate(id, urls) == DesktopServices::Activation::done) return;
    }
    const ExecFields fields{entry->name, entry->icon, path, std::move(files), std::move(urls)};
    start(environment, expandExec(entry->exec, fields), entry->path, id, entry->terminal);
}

void launchBundle(const DesktopEnvironment& environment, const std::string& path, std::vector<std::string> arguments) {
    static constexpr std::array<std::string_view, 1> keys{"CFBundleExecutable"};
    const auto strings = bundleStrings(path, keys);
    const std::string name =
        strings && strings->contains("CFBundleExecutable") ? strings->at("CFBundleExecutable") : "";
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
        throw std::runtime_error("The bundle names no program");
    }
    arguments.insert(arguments.begin(), path + "/Contents/MacOS/" + name);
    start(environment, std::move(arguments), {}, std::filesystem::path(path).stem().string(), false);
}

std::string urlOf(GFile* file) {
    const glib::String url(g_file_get_uri(file));
    return url.get();
}

/// The desktop entry of an application, when it has one.
std::optional<std::string> entryOf(GAppInfo* application) {
    if (!application || !G_IS_DESKTOP_APP_INFO(application)) return std::nullopt;
    const char* const path = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(application));
    return path ? std::optional<std::string>(path) : std::nullopt;
}

void openWithDefault(const DesktopEnvironment& environment, const std::string& path) {
    const glib::Object<GFile> file(g_file_new_for_path(path.c_str()));
    const glib::Object<GAppInfo> handler(g_file_query_default_handler(file.get(), nullptr, nullptr));
    const auto entry = entryOf(handler.get());
    if (!entry) throw std::runtime_error("Nothing opens this kind of file");
    launchEntry(environment, *entry, {path}, {urlOf(file.get())}, true);
}

/// The user's folder for downloads as user-dirs.dirs has it now; `otherwise` where it names none that exists.
std::string downloadsFolder(const std::string& otherwise) {
    g_reload_user_special_dirs_cache();
    const char* const named = g_get_user_special_dir(G_USER_DIRECTORY_DOWNLOAD);
    std::error_code missing;
    return named && std::filesystem::is_directory(named, missing) ? named : otherwise;
}

/// Of the folders that hold applications the one with the most in it; `otherwise` where there are none.
std::string applicationsFolder(const DesktopEnvironment& environment, const std::string& otherwise) {
    std::string fullest = otherwise;
    std::ptrdiff_t most = 0;
    for (const std::string& folder : environment.applicationFolders()) {
        std::error_code failure;
        std::ptrdiff_t count = 0;
        for (std::filesystem::directory_iterator entry(folder, failure), end; !failure && entry != end;
             entry.increment(failure)) {
            const std::filesystem::path ending = entry->path().extension();
            if (ending == ".desktop" || ending == ".app") ++count;
        }
        if (count > most) {
            most = count;
            fullest = folder;
        }
    }
    return fullest;
}

void showFolder(const DesktopEnvironment& environment, const std::string& path) {
    const auto downloads = (std::filesystem::path(environment.home) / "Downloads").lexically_normal();
    if (path == downloads) return openWithDefault(environment, downloadsFolder(path));
    if (path == "/Applications") return openWithDefault(environment, applicationsFolder(environment, path));
    openWithDefault(environment, path);
}

void openAddress(const DesktopEnvironment& environment, const std::string& url) {
    const glib::String scheme(g_uri_parse_scheme(url.c_str()));
    if (!scheme) throw std::runtime_error("The address has no scheme");
    if (std::string_view(scheme.get()) == "file") {
        gchar* host = nullptr;
        const glib::String path(g_filename_from_uri(url.c_str(), &host, nullptr));
        const glib::String server(host);
        if (!path || server) throw std::runtime_error("The address is not that of a file here");
        return openWithDefault(environment, path.get());
    }
    const glib::Object<GAppInfo> handler(g_app_info_get_default_for_uri_scheme(scheme.get()));
    const auto entry = entryOf(handler.get());
    if (!entry) throw std::runtime_error("Nothing opens this kind of address");
    // An entry that takes files only is handed the address all the same, as browsers that say "%f" expect.
    launchEntry(environment, *entry, {url}, {url}, true);
}

FileHandlers handlersOf(const std::string& path) {
    const glib::Object<GFile> file(g_file_new_for_path(path.c_str()));
    const glib::Object<GFileInfo> information(g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                                                                G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    if (!information) throw std::runtime_error("The kind of the file is not known");
    const char* const type = g_file_info_get_content_type(information.get());
    FileHandlers handlers;
    if (!type) return handlers;
    const glib::Object<GAppInfo> byDefault(g_app_info_get_default_for_type(type, FALSE));
    handlers.defaultPath = entryOf(byDefault.get());
    GList* const all = g_app_info_get_all_for_type(type);
    for (const GList* item = all; item; item = item->next) {
        const glib::Object<GAppInfo> application(G_APP_INFO(item->data));
        if (const auto entry = entryOf(application.get())) {
            handlers.all.push_back({g_app_info_get_display_name(application.get()), *entry});
        }
    }
    g_list_free(all);
    return handlers;
}

void revealItem(const DesktopEnvironment& environment, const std::string& path) {
    const glib::Object<GFile> file(g_file_new_for_path(path.c_str()));
    if (DesktopServices::showItem(urlOf(file.get()))) return;
    // Without a file manager on the bus, its folder is the nearest there is to show.
    openWithDefault(environment, std::filesystem::path(path).parent_path().string());
}

}  // namespace

LinuxWorkspace::LinuxWorkspace(Executor pool, DesktopEnvironment environment)
    : pool_(std::move(pool)), environment_(std::make_shared<const DesktopEnvironment>(std::move(environment))) {}

Task<> LinuxWorkspace::open(std::string path) {
    // An actor for each call: an application that is slow to answer holds nobody else up.
    Actor worker(pool_);
    const auto work = [environment = environment_, &path] { openWithDefault(*environment, path); };
    co_await worker.run(work);
}

Task<> LinuxWorkspace::openFolder(std::string path) {
    Actor worker(pool_);
    const auto work = [environment = environment_, &path] { showFolder(*environment, path); };
    co_await worker.run(work);
}

Task<> LinuxWorkspace::openURL(std::string url) {
    Actor worker(pool_);
    const auto work = [environment = environment_, &url] { openAddress(*environment, url); };
    co_await worker.run(work);
}

Task<> LinuxWorkspace::openWith(std::string file, std::string application) {
    Actor worker(pool_);
    const auto work = [environment = environment_, &file, &application] {
        const glib::Object<GFile> document(g_file_new_for_path(file.c_str()));
        launchEntry(*environment, application, {file}, {urlOf(document.get())}, true);
    };
    co_await worker.run(work);
}

Task<FileHandlers> LinuxWorkspace::handlers(std::string path) {
    Actor worker(pool_);
    const auto work = [&path] { return handlersOf(path); };
    co_return co_await worker.run(work);
}

Task<> LinuxWorkspace::reveal(std::string path) {
    Actor worker(pool_);
    const auto work = [environment = environment_, &path] { revealItem(*environment, path); };
    co_await worker.run(work);
}

Task<> LinuxWorkspace::openApplication(std::string path, std::vector<std::string> arguments) {
    Actor worker(pool_);
    const auto work = [environment = environment_, &path, &arguments] {
        if (!path.ends_with(".desktop")) return launchBundle(*environment, path, arguments);
        launchEntry(*environment, path, arguments, arguments, arguments.empty());
    };
    co_await worker.run(work);
}

}  // namespace velmora

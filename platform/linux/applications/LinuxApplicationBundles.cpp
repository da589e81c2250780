#include "platform/linux/applications/LinuxApplicationBundles.h"

#include "core/text/Text.h"
#include "platform/linux/applications/DesktopEntry.h"
#include "platform/linux/applications/PropertyList.h"
#include "platform/linux/applications/WindowClassIndex.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <mutex>

namespace velmora {
namespace {

using namespace std::string_view_literals;

/// What tells that a file is not the one that was read: its place on the disk, its size and its last change, which no
/// program can set back.
struct Version {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    std::int64_t changedSeconds = 0;
    std::int64_t changedNanoseconds = 0;

    bool operator==(const Version&) const = default;
};

std::optional<Version> version(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return Version{status.st_dev, status.st_ino, status.st_size, status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

/// Kept of every application, and shown, sorted and searched by: not as much of a text as a file can hold.
struct Description {
    static std::string text(std::string_view whole) { return std::string(text::beginning(whole, 4096)); }

    std::optional<BundleInformation> information;
    std::string tryExec;
    std::string windowClass;
};

Description describeBundle(const std::string& path) {
    static constexpr std::array keys{"CFBundleDisplayName"sv, "CFBundleName"sv, "CFBundleIdentifier"sv};
    const auto strings = bundleStrings(path, keys);
    if (!strings) return {};
    const auto value = [&](std::string_view key) -> std::optional<std::string> {
        const auto found = strings->find(std::string(key));
        return found == strings->end() ? std::nullopt : std::optional(Description::text(found->second));
    };
    BundleInformation information;
    information.displayName = value(keys[0]);
    if (!information.displayName) information.displayName = value(keys[1]);
    information.identifier = value(keys[2]);
    return {std::move(information), {}, {}};
}

/// "kde/viewer.desktop" below a root has the id "kde-viewer".
std::string desktopId(const std::string& path, const std::string& root) {
    std::string_view relative = path;
    if (relative.starts_with(root)) relative.remove_prefix(root.size());
    relative.remove_prefix(std::min(relative.find_first_not_of('/'), relative.size()));
    std::string id(relative.substr(0, relative.size() - ".desktop"sv.size()));
    std::ranges::replace(id, '/', '-');
    return id;
}

/// What is no application's entry has no identifier, so that it hides nothing but itself.
Description describeEntry(const std::string& path, const std::string& root, const DesktopEnvironment& environment) {
    BundleInformation information;
    const auto entry = DesktopEntry::load(path, environment.languages);
    if (!entry) {
        information.hidden = true;
        return {std::move(information), {}, {}};
    }
    information.displayName = Description::text(entry->name);
    information.identifier = desktopId(path, root);
    information.hidden = !entry->isShown(environment.currentDesktops);
    return {std::move(information), Description::text(entry->tryExec), Description::text(entry->startupWMClass)};
}

}  // namespace

/// What was parsed, by path. Entries that a whole scan did not ask for are dropped at the start of the next but one.
class LinuxApplicationBundles::Cache {
  public:
    void beginScan() {
        const std::lock_guard lock(mutex_);
        if (std::erase_if(entries_, [this](const auto& entry) { return entry.second.scan + 1 < scan_; }) > 0)
            windows_.reset();
        ++scan_;
    }

    template <class Describe>
    Description at(const std::string& path, const Version& current, Describe describe) {
        const std::lock_guard lock(mutex_);
        Entry& entry = entries_[path];
        if (entry.version != current) {
            entry.description = describe();
            entry.version = current;
            windows_.reset();
        }
        entry.scan = scan_;
        return entry.description;
    }

    std::optional<std::string> findByWindow(const std::vector<std::string>& classes) {
        const std::lock_guard lock(mutex_);
        if (!windows_) {
            WindowClassIndex& made = windows_.emplace();
            for (const bool hidden : {false, true})  // what only opens links, say, shares the class of the real one
                addTo(made, hidden);
        }
        return windows_->find(classes);
    }

  private:
    struct Entry {
        std::optional<Version> version;
        Description description;
        std::uint64_t scan = 0;
    };

    void addTo(WindowClassIndex& windows, bool hidden) const {
        for (const auto& [path, entry] : entries_) {
            const auto& information = entry.description.information;
            if (information && information->hidden == hidden)
                windows.add(information->identifier.value_or(""), entry.description.windowClass);
        }
    }

    std::mutex mutex_;
    std::uint64_t scan_ = 0;
    std::map<std::string, Entry> entries_;
    std::optional<WindowClassIndex> windows_;  // none: to be made of the entries
};

LinuxApplicationBundles::LinuxApplicationBundles(DesktopEnvironment environment)
    : environment_(std::move(environment)), cache_(std::make_unique<Cache>()) {}

LinuxApplicationBundles::~LinuxApplicationBundles() = default;

std::vector<std::string> LinuxApplicationBundles::roots() const {
    cache_->beginScan();
    return environment_.applicationFolders();
}

bool LinuxApplicationBundles::isApplicationName(std::string_view name, bool isDirectory) const {
    const std::string_view ending = isDirectory ? ".app"sv : ".desktop"sv;
    return name.size() > ending.size() && name.ends_with(ending);
}

bool LinuxApplicationBundles::mayLaunch(const std::string& path) const {
    namespace fs = std::filesystem;
    std::error_code missing;
    if (path.ends_with(".app")) return fs::exists(path, missing);
    const fs::path real = fs::canonical(path, missing);
    if (missing || !path.ends_with(".desktop")) return false;
    return std::ranges::any_of(environment_.applicationFolders(), [&](const std::string& folder) {
        std::error_code absent;
        const std::string place = fs::canonical(folder, absent).string() + "/";
        return !absent && real.string().starts_with(place);
    });
}

std::optional<BundleInformation> LinuxApplicationBundles::read(const std::string& path, const std::string& root) const {
    const bool isEntry = path.ends_with(".desktop");
    auto current = version(isEntry ? path : path + "/Contents/Info.plist");
    if (!current && !isEntry) current = version(path + "/Info.plist");
    if (!current) return std::nullopt;
    Description found = cache_->at(
        path, *current, [&] { return isEntry ? describeEntry(path, root, environment_) : describeBundle(path); });
    auto& information = found.information;
    if (information && !found.tryExec.empty() && !environment_.findProgram(found.tryExec)) information->hidden = true;
    return std::move(information);
}

std::optional<std::string> LinuxApplicationBundles::findByWindow(const std::vector<std::string>& classes) const {
    return cache_->findByWindow(classes);
}

}  // namespace velmora

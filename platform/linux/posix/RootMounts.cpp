#include "platform/linux/posix/RootMounts.h"

#include "core/files/FileNames.h"
#include "platform/linux/posix/Descriptor.h"
#include "platform/linux/posix/PathParts.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <array>
#include <string_view>

namespace velmora {
namespace {

constexpr int maximumLinks = 40;  // as many as the system itself follows

bool isBelow(std::string_view path, std::string_view root) {
    return path.starts_with(root) && path.size() > root.size() && path[root.size()] == '/';
}

std::optional<std::string> readLink(int folder, const std::string& name) {
    std::array<char, PATH_MAX> target;
    const ssize_t size = readlinkat(folder, name.c_str(), target.data(), target.size());
    if (size < 0) return std::nullopt;
    return std::string(target.data(), static_cast<std::size_t>(size));
}

/// Puts the parts of a path on a stack, the first on top.
void pushParts(std::vector<std::string>& stack, std::string_view path) {
    for (; !path.empty(); path = parentOf(path)) {
        const std::string_view last = lastComponent(path);
        if (!last.empty() && last != ".") stack.emplace_back(last);
    }
}

/// The true path that one part of a path leads to from the true path of a folder.
std::string step(const std::string& from, const std::string& part) {
    if (part != "..") return (from == "/" ? "" : from) + '/' + part;
    return from == "/" ? from : std::string(parentOf(from));
}

}  // namespace

void RootMounts::setRoots(const std::vector<std::string>& roots) {
    const std::lock_guard lock(mutex_);
    roots_.clear();
    for (const std::string& text : roots) {
        std::string path = fileNameBytes(text);
        while (path.ends_with('/'))
            path.pop_back();
        roots_.push_back(std::make_shared<Root>(std::move(path)));
    }
}

std::optional<Examined> RootMounts::examine(const std::string& path) {
    const std::string mount = stallingMount(path);
    if (!mount.empty() && mount != path) return std::nullopt;
    if (!mount.empty()) {
        Examined folder;
        folder.isFolder = true;
        return folder;
    }
    const auto found = examinePath(path);
    return found && found->isLink ? follow(path, *found) : found;
}

/// Of the innermost root that the path is in; a path outside them is nobody's.
std::string RootMounts::stallingMount(const std::string& path) {
    std::shared_ptr<Root> innermost;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& root : roots_) {
            if (isBelow(path, root->path) && (!innermost || root->path.size() > innermost->path.size()))
                innermost = root;
        }
    }
    if (!innermost) return {};
    const std::lock_guard lock(innermost->mutex);
    std::optional<MountTable>& mounts = innermost->mounts;
    if (!mounts) {
        const std::string root = innermost->path.empty() ? "/" : innermost->path;
        const Descriptor folder = openPath(root, O_PATH | O_DIRECTORY);
        if (!folder) return {};
        mounts.emplace(root, folder.get());
    }
    mounts->refresh();
    return std::string(mounts->stallingMount(path));
}

/// What a link leads to; if nowhere or to where nobody may look, the link. Goes its way step by step, so that each is
/// judged before it is taken. A mount that the link itself is in is no obstacle.
Examined RootMounts::follow(const std::string& path, const Examined& link) {
    Descriptor here = openPath(std::string(parentOf(path)), O_PATH | O_DIRECTORY);
    std::string herePath = here ? truePath(here.get()) : "";
    if (herePath.empty()) return link;
    const Descriptor top = openPath("/", O_PATH | O_DIRECTORY);
    const MountTable mounts("/", top.get());
    const std::string own(mounts.stallingMount(herePath));
    std::vector<std::string> parts{std::string(lastComponent(path))};
    for (int links = 0; !parts.empty();) {
        const std::string part = std::move(parts.back());
        parts.pop_back();
        std::string next = step(herePath, part);
        const std::string_view mount = mounts.stallingMount(next);
        if (!mount.empty() && mount != own) return link;
        if (const auto target = readLink(here.get(), part)) {
            if (++links > maximumLinks) return link;
            pushParts(parts, *target);
            if (!target->starts_with('/')) continue;
            next.assign(1, '/');  // from a literal, GCC 12 warns of an overflow where it optimises
            here = openPath("/", O_PATH | O_DIRECTORY);
        } else {
            here = Descriptor(openat(here.get(), part.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        }
        if (!here) return link;
        herePath = std::move(next);
    }
    return examineOpen(here.get()).value_or(link);
}

}  // namespace velmora

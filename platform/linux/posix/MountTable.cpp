#include "platform/linux/posix/MountTable.h"

#include "platform/linux/posix/PathParts.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace velmora {
namespace {

constexpr std::array madeUpTypes{"proc",     "sysfs",    "devtmpfs",   "devpts",     "cgroup",
                                 "cgroup2",  "debugfs",  "tracefs",    "securityfs", "pstore",
                                 "bpf",      "configfs", "mqueue",     "hugetlbfs",  "binfmt_misc",
                                 "efivarfs", "fusectl",  "rpc_pipefs", "nsfs",       "selinuxfs"};

constexpr std::array stallingTypes{"autofs", "fuse", "nfs", "nfs4", "cifs",   "smb3", "smbfs", "ncpfs",
                                   "afs",    "ceph", "9p",  "coda", "lustre", "gfs2", "ocfs2", "glusterfs"};

template <class Types>
bool contains(const Types& types, std::string_view type) {
    return std::find(types.begin(), types.end(), type) != types.end();
}

/// "fuse.sshfs" and the like; "fuseblk" is a local disk.
bool isStalling(std::string_view type) {
    return type.starts_with("fuse.") || contains(stallingTypes, type);
}

/// The mount list writes white space and backslashes as three octal digits.
std::string unescaped(std::string_view text) {
    const auto isOctal = [](char c) { return c >= '0' && c <= '7'; };
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && isOctal(text[i + 1]) && isOctal(text[i + 2]) &&
            isOctal(text[i + 3])) {
            result += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0'));
            i += 3;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string readMountList() {
    std::ifstream file("/proc/self/mountinfo");
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

std::string truePath(int descriptor) {
    std::error_code failure;
    const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), failure);
    return failure ? "" : path.string();
}

MountTable::MountTable(std::string root, int rootFolder)
    : root_(std::move(root)),
      canonicalRoot_(truePath(rootFolder)),
      changes_(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {
    if (canonicalRoot_.empty()) canonicalRoot_ = root_;
    read(readMountList());
}

MountTable::MountTable(std::string root, std::string canonicalRoot, std::string_view mountList)
    : root_(std::move(root)), canonicalRoot_(std::move(canonicalRoot)) {
    read(mountList);
}

void MountTable::refresh() {
    pollfd change{changes_.get(), POLLPRI, 0};
    if (poll(&change, 1, 0) > 0) read(readMountList());
}

void MountTable::read(std::string_view mountList) {
    blocked_.clear();
    mounts_.clear();
    const std::string below = canonicalRoot_ == "/" ? "/" : canonicalRoot_ + '/';
    const std::string prefix = root_ == "/" ? "/" : root_ + '/';
    std::istringstream lines{std::string(mountList)};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string id, parent, device, source, target, word, type;
        if (!(fields >> id >> parent >> device >> source >> target)) continue;
        while (fields >> word && word != "-") {
        }
        fields >> type;
        std::string path = unescaped(target);
        if (path.size() <= below.size() || !path.starts_with(below)) continue;
        path.replace(0, below.size(), prefix);
        mounts_.emplace(path, id);
        // Of several mounts on one another, one that stalls is enough.
        if (isStalling(type)) blocked_[path] = Kind::stalling;
        if (contains(madeUpTypes, type)) blocked_.emplace(path, Kind::madeUp);
    }
}

bool MountTable::isBlocked(std::string_view path) const {
    if (blocked_.empty()) return false;
    for (; !path.empty(); path = parentOf(path)) {
        if (blocked_.contains(std::string(path))) return true;
    }
    return false;
}

std::string_view MountTable::stallingMount(std::string_view path) const {
    if (blocked_.empty()) return {};
    for (; !path.empty(); path = parentOf(path)) {
        const auto found = blocked_.find(std::string(path));
        if (found != blocked_.end() && found->second == Kind::stalling) return found->first;
    }
    return {};
}

}  // namespace velmora

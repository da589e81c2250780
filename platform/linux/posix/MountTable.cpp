#include "platform/linux/posix/MountTable.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace velmora {
namespace {

constexpr std::array blockedTypes{
    // made up by the kernel
    "proc", "sysfs", "devtmpfs", "devpts", "cgroup", "cgroup2", "debugfs", "tracefs", "securityfs", "pstore", "bpf",
    "configfs", "mqueue", "hugetlbfs", "binfmt_misc", "efivarfs", "fusectl", "rpc_pipefs", "nsfs", "selinuxfs",
    // behind a program or a network
    "autofs", "fuse", "nfs", "nfs4", "cifs", "smb3", "smbfs", "ncpfs", "afs", "ceph", "9p", "coda", "lustre", "gfs2",
    "ocfs2", "glusterfs"};

/// "fuse.sshfs" and the like; "fuseblk" is a local disk.
bool isBlockedType(std::string_view type) {
    return type.starts_with("fuse.") || std::find(blockedTypes.begin(), blockedTypes.end(), type) != blockedTypes.end();
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

std::string canonicalPath(const std::string& path, int folder) {
    std::error_code failure;
    const auto canonical = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(folder), failure);
    return failure ? path : canonical.string();
}

}  // namespace

MountTable::MountTable(const std::string& root, int rootFolder)
    : MountTable(root, canonicalPath(root, rootFolder), readMountList()) {}

MountTable::MountTable(const std::string& root, const std::string& canonicalRoot, std::string_view mountList) {
    const std::string below = canonicalRoot == "/" ? "/" : canonicalRoot + '/';
    const std::string prefix = root == "/" ? "/" : root + '/';
    std::istringstream lines{std::string(mountList)};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string id, parent, device, source, target, word, type;
        if (!(fields >> id >> parent >> device >> source >> target)) continue;
        while (fields >> word && word != "-") {
        }
        fields >> type;
        const std::string path = unescaped(target);
        if (path.size() > below.size() && path.starts_with(below)) add(prefix + path.substr(below.size()), type, id);
    }
}

void MountTable::add(const std::string& path, const std::string& type, const std::string& id) {
    mounts_.emplace(path, id);
    if (!isBlockedType(type)) return;
    blocked_.insert(path);
    const std::size_t slash = path.rfind('/');
    parents_.insert(slash == 0 ? "/" : path.substr(0, slash));
}

}  // namespace velmora

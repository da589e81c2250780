#include "platform/linux/posix/Descriptor.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace velmora {
namespace {

constexpr std::size_t longestPiece = 4000;  // below PATH_MAX, which counts the terminating zero

/// openat2 where the kernel has it and the sandbox lets it through; nothing otherwise.
std::optional<int> openResolving(int folder, const char* path, int flags, std::uint64_t resolve) {
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags);
    how.resolve = resolve;
    const auto fd = syscall(SYS_openat2, folder, path, &how, sizeof how);
    if (fd < 0 && (errno == ENOSYS || errno == EPERM)) return std::nullopt;
    return static_cast<int>(fd);
}

/// The second best, openat, looks at the last link only.
int openWithoutLinks(int folder, const char* path, int flags) {
    const auto opened = openResolving(folder, path, flags, RESOLVE_NO_SYMLINKS);
    return opened ? *opened : openat(folder, path, flags | O_NOFOLLOW);
}

bool areInOneMount(int one, int other) {
    constexpr int flags = AT_EMPTY_PATH | AT_STATX_DONT_SYNC;
    struct statx first {
    }, second{};
    return statx(one, "", flags, STATX_MNT_ID, &first) == 0 && statx(other, "", flags, STATX_MNT_ID, &second) == 0 &&
           first.stx_mnt_id == second.stx_mnt_id && first.stx_dev_major == second.stx_dev_major &&
           first.stx_dev_minor == second.stx_dev_minor;
}

template <class Open>
Descriptor openInPieces(int folder, std::string_view path, int flags, Open open) {
    Descriptor current;
    while (path.size() > longestPiece) {
        const std::size_t slash = path.rfind('/', longestPiece);
        if (slash == std::string_view::npos || slash == 0) {
            errno = ENAMETOOLONG;
            return {};
        }
        const std::string piece(path.substr(0, slash));
        current = Descriptor(open(current ? current.get() : folder, piece.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!current) return {};
        path.remove_prefix(std::min(path.find_first_not_of('/', slash), path.size()));
    }
    const std::string piece(path.empty() ? "." : path);
    return Descriptor(open(current ? current.get() : folder, piece.c_str(), flags | O_CLOEXEC));
}

}  // namespace

void Descriptor::reset() noexcept {
    if (fd_ >= 0) close(std::exchange(fd_, -1));
}

Descriptor openSubfolder(int folder, const char* name) {
    return Descriptor(openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

Descriptor openInMount(int folder, const char* name, int flags) {
    flags |= O_NOFOLLOW | O_CLOEXEC;
    if (const auto opened = openResolving(folder, name, flags, RESOLVE_NO_SYMLINKS | RESOLVE_NO_XDEV))
        return Descriptor(*opened);
    Descriptor entry(openat(folder, name, flags));
    if (!entry || areInOneMount(folder, entry.get())) return entry;
    errno = EXDEV;
    return {};
}

Descriptor openPath(const std::string& path, int flags) {
    return openInPieces(AT_FDCWD, path, flags,
                        [](int at, const char* piece, int how) { return openat(at, piece, how); });
}

Descriptor openBelow(int folder, const std::string& path, int flags) {
    return openInPieces(folder, path, flags, openWithoutLinks);
}

}  // namespace velmora

#include "platform/linux/posix/BoundedFile.h"

#include "platform/linux/posix/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace velmora {
std::optional<std::string> readBoundedFile(const std::string& path, std::size_t limitBytes) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    if (std::cmp_greater(status.st_size, limitBytes)) return std::nullopt;
    // One byte more than it has: a file that grows while it is read is a file half-written.
    std::string contents(static_cast<std::size_t>(status.st_size) + 1, '\0');
    std::size_t length = 0;
    while (length < contents.size()) {
        const ssize_t count = read(file.get(), contents.data() + length, contents.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
    }
    if (length == contents.size()) return std::nullopt;
    contents.resize(length);
    return contents;
}

}  // namespace velmora

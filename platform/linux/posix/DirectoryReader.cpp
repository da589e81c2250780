#include "platform/linux/posix/DirectoryReader.h"

#include <dirent.h>
#include <unistd.h>

#include <cstring>

namespace velmora {
namespace {

constexpr std::size_t bufferBytes = std::size_t{64} * 1024;

}  // namespace

DirectoryReader::DirectoryReader() : buffer_(bufferBytes) {}

std::optional<bool> DirectoryReader::fill(int folder) {
    clear();
    const ssize_t bytes = getdents64(folder, buffer_.data(), buffer_.size());
    if (bytes < 0) return std::nullopt;
    end_ = static_cast<std::size_t>(bytes);
    return bytes > 0;
}

std::optional<DirectoryReader::Entry> DirectoryReader::next() {
    while (position_ < end_) {
        const char* raw = buffer_.data() + position_;
        dirent64 head;
        std::memcpy(&head, raw, offsetof(dirent64, d_name));
        position_ += head.d_reclen;
        const char* terminated = raw + offsetof(dirent64, d_name);
        const std::string_view name(terminated);
        if (name == "." || name == "..") continue;
        return Entry{name, terminated, head.d_type == DT_DIR || head.d_type == DT_UNKNOWN, head.d_off};
    }
    return std::nullopt;
}

}  // namespace velmora

#include "app/mcp/LineBuffer.h"

namespace velmora {
namespace {

/// What is kept for the next lines once a longer one was taken.
constexpr std::size_t keptCapacity = std::size_t{256} << 10U;

}  // namespace

bool LineBuffer::append(std::string_view piece) {
    bytes_ += piece;
    return bytes_.size() <= maximumBytes;
}

std::optional<std::string_view> LineBuffer::next() {
    for (;;) {
        const std::size_t end = bytes_.find('\n', searched_);
        if (end == std::string::npos) {
            dropTaken();
            searched_ = bytes_.size();
            return std::nullopt;
        }
        const auto line = std::string_view(bytes_).substr(taken_, end - taken_);
        taken_ = searched_ = end + 1;
        if (!line.empty()) return line;
    }
}

void LineBuffer::dropTaken() {
    bytes_.erase(0, taken_);
    taken_ = 0;
    if (bytes_.size() < keptCapacity && bytes_.capacity() > keptCapacity) bytes_.shrink_to_fit();
}

}  // namespace velmora

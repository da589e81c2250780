#pragma once

#include <cstddef>
#include <string_view>

namespace velmora {

/// A text of any length in chunks that can be laid out one at a time, found from any place without reading what lies
/// before: its lines, and of a line that is longer than a window is high, parts that end with a word, or at least with
/// a whole character.
///
/// Offsets are bytes of UTF-8. The text must outlive this.
class TextChunks {
  public:
    /// A line of up to this many bytes is one chunk, and no chunk is much longer than twice as many.
    static constexpr std::size_t size = 1536;

    explicit TextChunks(std::string_view text) : text_(text) {}

    /// Where the chunk that holds `offset` begins; of the end of the text, the last chunk.
    [[nodiscard]] std::size_t startOf(std::size_t offset) const;
    /// Where the chunk that begins at `start` ends, its line feed included.
    [[nodiscard]] std::size_t endOf(std::size_t start) const;

  private:
    [[nodiscard]] bool hasLineFeed(std::size_t from, std::size_t to) const;
    [[nodiscard]] std::size_t cutBefore(std::size_t position) const;

    std::string_view text_;
};

}  // namespace velmora

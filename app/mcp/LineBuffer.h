#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

/// Makes lines of pieces. Each byte is looked at once, however small the pieces are.
class LineBuffer {
  public:
    static constexpr std::size_t maximumBytes = 8'000'000;

    /// False when more than `maximumBytes` are there then, which is the end of it. Call when `next` has no line left.
    [[nodiscard]] bool append(std::string_view piece);

    /// The next line that is whole and not empty, without its line feed. Valid until the next call.
    [[nodiscard]] std::optional<std::string_view> next();

  private:
    void dropTaken();

    std::string bytes_;
    std::size_t taken_ = 0;
    std::size_t searched_ = 0;  ///< up to here there is no line feed but in what was taken
};

}  // namespace velmora

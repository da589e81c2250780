#pragma once

#include <string>
#include <string_view>

namespace velmora {

/// A pattern of SQLite's LIKE (https://www.sqlite.org/lang_expr.html#like), prepared for being held against many texts:
/// "%" stands for any text, "_" for one character, and the letters of ASCII match in either case.
class LikePattern {
  public:
    /// `escape` before "%", "_" or itself makes it an ordinary character; 0 when there is none.
    LikePattern(std::string_view pattern, char escape);

    [[nodiscard]] bool matches(std::string_view text) const;

  private:
    [[nodiscard]] bool contains(std::string_view text) const;

    // One piece of ordinary characters, in small letters, that is all of the text but for what comes before and after.
    std::string piece_;
    bool anyBefore_ = false;
    bool anyAfter_ = false;

    // Any other pattern is left to SQLite.
    bool isPiece_ = true;
    std::string pattern_;
    char escape_;
};

}  // namespace velmora

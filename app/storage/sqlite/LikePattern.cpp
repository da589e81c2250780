#include "app/storage/sqlite/LikePattern.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace velmora {
namespace {

constexpr std::array<unsigned char, 256> small = [] {
    std::array<unsigned char, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<unsigned char>(i >= 'A' && i <= 'Z' ? i - 'A' + 'a' : i);
    return table;
}();

unsigned char smallOf(char c) {
    return small[static_cast<unsigned char>(c)];
}

/// Whether `text` begins with `piece`, which is in small letters and not longer.
bool beginsWith(const char* text, std::string_view piece) {
    const auto same = [](char left, char right) { return static_cast<unsigned char>(left) == smallOf(right); };
    return std::equal(piece.begin(), piece.end(), text, same);
}

/// Sixteen characters at once.
using Block [[gnu::vector_size(16)]] = unsigned char;

/// The same for a capital letter and a small one, and for some pairs of other characters.
unsigned char inEitherCase(char c) {
    return static_cast<unsigned char>(static_cast<unsigned char>(c) | 0x20U);
}

Block blockAt(const char* text) {
    Block block;
    std::memcpy(&block, text, sizeof(block));
    return block | static_cast<unsigned char>(0x20);
}

template <class Comparison>
bool hasAny(Comparison block) {
    std::uint64_t halves[2];
    static_assert(sizeof(halves) == sizeof(block));
    std::memcpy(halves, &block, sizeof(halves));
    return (halves[0] | halves[1]) != 0;
}

}  // namespace

LikePattern::LikePattern(std::string_view pattern, char escape) : pattern_(pattern), escape_(escape) {
    for (std::size_t i = 0; i < pattern.size() && isPiece_; ++i) {
        const bool isEscape = escape != '\0' && pattern[i] == escape;
        if (!isEscape && pattern[i] == '%') {
            (piece_.empty() ? anyBefore_ : anyAfter_) = true;
            continue;
        }
        isPiece_ = !anyAfter_ && (isEscape ? ++i < pattern.size() : pattern[i] != '_');
        if (isPiece_) piece_ += static_cast<char>(smallOf(pattern[i]));
    }
}

bool LikePattern::matches(std::string_view text) const {
    if (!isPiece_) {
        return sqlite3_strlike(pattern_.c_str(), std::string(text).c_str(), static_cast<unsigned char>(escape_)) == 0;
    }
    if (text.size() < piece_.size()) return false;
    if (anyBefore_ && anyAfter_) return contains(text);
    if (!anyBefore_ && !anyAfter_ && text.size() != piece_.size()) return false;
    return beginsWith(text.data() + (anyBefore_ ? text.size() - piece_.size() : 0), piece_);
}

bool LikePattern::contains(std::string_view text) const {
    const std::size_t places = text.size() - piece_.size() + 1;
    const auto occursIn = [&](std::size_t from, std::size_t count) {
        for (std::size_t i = from; i < from + count; ++i) {
            if (beginsWith(text.data() + i, piece_)) return true;
        }
        return false;
    };
    // The whole piece is compared only where its first and its last character may be, looked for in many places at
    // once.
    const Block first = Block{} + inEitherCase(piece_.front());
    const Block last = Block{} + inEitherCase(piece_.back());
    const auto mayOccurAt = [&](const char* at) {
        return hasAny((blockAt(at) == first) & (blockAt(at + piece_.size() - 1) == last));
    };
    if (places < sizeof(Block)) {
        // Most names are this short: with room behind them they can be looked at in the same way.
        constexpr std::size_t shortText = 32;
        if (text.size() > shortText) return occursIn(0, places);
        std::array<char, shortText + sizeof(Block)> padded{};
        std::memcpy(padded.data(), text.data(), text.size());
        return mayOccurAt(padded.data()) && occursIn(0, places);
    }
    for (std::size_t i = 0; i < places; i += sizeof(Block)) {
        i = std::min(i, places - sizeof(Block));
        if (mayOccurAt(text.data() + i) && occursIn(i, sizeof(Block))) return true;
    }
    return false;
}

}  // namespace velmora

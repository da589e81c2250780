#pragma once

#include <string>
#include <string_view>

/// Characters that nobody sees but that change what is seen. Runs on: any thread.
namespace velmora::text {

/// Control characters, embeddings, overrides and isolates (UAX #9), and what has no width. The joiners and the plain
/// marks of direction are none of them: scripts and emoji are written with them.
bool deceives(char32_t character);

/// `text` for the eyes of someone who has to judge it: whatever has no look of its own, the joiners included, as a mark
/// such as "‹U+202E›", and so the accents beyond those that one letter can carry. Line feeds stay what they are.
std::string revealed(std::string_view text);

}  // namespace velmora::text

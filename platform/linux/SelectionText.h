#pragma once

#include <optional>
#include <string>
#include <string_view>

/// What the programs of an X11 desktop put on the clipboard, as the texts that they mean.
///
/// Every result is valid UTF-8: bytes that are not come out as U+FFFD. NULs at the end, which some programs count as
/// part of a text, are left out; those inside are kept.
namespace velmora::selectionText {

/// A text in UTF-8.
std::string fromUtf8(std::string_view bytes);

/// A text in Latin-1, in which every byte is a character.
std::string fromLatin1(std::string_view bytes);

/// A text in an encoding that was not named: UTF-8 where it is valid, else Latin-1.
std::string fromUnknown(std::string_view bytes);

/// The first address of a list (RFC 2483, section 5: one a line, "#" begins a comment).
std::optional<std::string> firstOfList(std::string_view bytes);

/// The address of a link in the form of the Mozilla programs: UTF-16 in the machine's byte order, the address in the
/// first line, its title in the second.
std::optional<std::string> firstOfMozillaLink(std::string_view bytes);

}  // namespace velmora::selectionText

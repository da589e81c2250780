#pragma once

#include <string>
#include <string_view>

/// File names as text. A file name is bytes, the index, the screen and JSON hold UTF-8; this is the way between them,
/// and it loses nothing.
///
/// Valid UTF-8 stays as it is. Every byte b (0x80 … 0xFF) that is not part of valid UTF-8 becomes the private-use
/// character U+EF00 + b (U+EF80 … U+EFFF). A name that really holds one of these characters has its three bytes written
/// that way, so that different names never become the same text. Works on whole paths as well: "/" is never touched.
///
/// Runs on: any thread.
namespace velmora {

/// The text that stands for the bytes of a name or path.
std::string fileNameText(std::string_view bytes);

/// The bytes to hand to the system for such a text: `fileNameBytes(fileNameText(x)) == x` for every x.
std::string fileNameBytes(std::string_view text);

}  // namespace velmora

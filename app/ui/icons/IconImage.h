#pragma once

#include <QImage>
#include <string>

namespace velmora::IconImage {

/// Decodes what an image file holds and fits it into `size` × `size` pixels. A null image for anything that is no
/// picture, is larger than an icon has reason to be (4096 pixels a side, a drawing of 1 MiB), or is a drawing made to
/// be expensive; other drawings can be, too (see `IconDecoder`). Runs on: any thread.
QImage decode(const std::string& contents, int size);

}  // namespace velmora::IconImage

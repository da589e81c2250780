#pragma once

#include <QImage>
#include <string>

namespace velmora::IconImage {

/// Reads the picture in the file at `path` (absolute) and fits it into `size` × `size` pixels. A null image for
/// anything that is no picture, is larger than an icon has reason to be (8 MiB, 4096 pixels a side), or is a drawing
/// made to be expensive. Runs on: any thread; reads the disk.
QImage read(const std::string& path, int size);

}  // namespace velmora::IconImage

#pragma once

#include <cstdint>
#include <string>

namespace velmora {

/// One entry of the filename index. Text is UTF-8: names that are not are written as `core/FileNames.h` says.
struct IndexedFile {
    std::string path;  ///< absolute; the record's identity
    std::string name;  ///< the last component of `path`
    bool isDirectory = false;
    std::int64_t size = 0;  ///< bytes; 0 for folders and where it is not known
    double modified = 0;    ///< seconds since 1970 UTC; 0 where it is not known

    friend bool operator==(const IndexedFile&, const IndexedFile&) = default;
};

}  // namespace velmora

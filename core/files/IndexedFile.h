#pragma once

#include "core/json/JSONRecord.h"

#include <cstdint>
#include <string>

namespace velmora {

/// One file or folder of the filename index. Text is UTF-8: names that are not are written as `core/files/FileNames.h` says.
struct IndexedFile {
    std::string path;  ///< absolute; what tells entries apart
    std::string name;  ///< the last component of the path
    bool isDirectory = false;
    std::int64_t size = 0;  ///< in bytes; 0 for folders and where unknown
    double modified = 0;    ///< seconds since 1970; 0 where unknown

    bool operator==(const IndexedFile&) const = default;

    [[nodiscard]] JSONValue toJSON() const {
        return JSONValue::Object{
            {"path", path}, {"name", name}, {"isDirectory", isDirectory}, {"size", size}, {"modified", modified}};
    }

    /// Fails with `JSONError`.
    static IndexedFile fromJSON(const JSONValue& value) {
        return {decodeMember<std::string>(value, "path"), decodeMember<std::string>(value, "name"),
                decodeMember<bool>(value, "isDirectory"), decodeMember<std::int64_t>(value, "size"),
                decodeMember<double>(value, "modified")};
    }
};

/// One folder whose contents are indexed.
struct IndexRoot {
    std::string id;  ///< an upper-case UUID
    std::string path;

    bool operator==(const IndexRoot&) const = default;

    [[nodiscard]] JSONValue toJSON() const { return JSONValue::Object{{"id", id}, {"path", path}}; }

    /// Fails with `JSONError`.
    static IndexRoot fromJSON(const JSONValue& value) {
        return {decodeMember<std::string>(value, "id"), decodeMember<std::string>(value, "path")};
    }
};

}  // namespace velmora

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace velmora {

/// A time as the file system keeps it.
using FileTime = std::chrono::sys_time<std::chrono::microseconds>;

inline FileTime fileTimeNow() {
    return std::chrono::floor<FileTime::duration>(std::chrono::system_clock::now());
}

inline double secondsSince1970(FileTime time) {
    return std::chrono::duration<double>(time.time_since_epoch()).count();
}

/// Tells an entry from every other that exists at the same time, whatever it is called.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;  ///< 0: unknown

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// What one look at an entry tells.
struct Examined {
    bool isFolder = false;
    bool isLink = false;
    std::int64_t sizeBytes = 0;  ///< of a folder, what the file system gives for it
    FileTime modified;           ///< its contents; of a folder, its listing
    FileTime changed;            ///< the same, its name, its place or its permissions
    FileIdentity identity;
};

// All of them tell what is known without asking a server or mounting anything, and nothing when there is no such entry
// or it is not accessible. Names and paths are bytes.

/// An entry of an open folder itself: of a link, not of what it leads to.
std::optional<Examined> examineEntry(int folder, const char* name);

/// An open file or folder.
std::optional<Examined> examineOpen(int descriptor);

/// What is at a path of any length: of a link, not of what it leads to.
std::optional<Examined> examinePath(const std::string& path);

}  // namespace velmora

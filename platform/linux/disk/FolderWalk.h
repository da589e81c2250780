#pragma once

#include "core/files/IndexedFile.h"
#include "core/files/SkipRule.h"
#include "platform/linux/posix/Descriptor.h"
#include "platform/linux/posix/DirectoryReader.h"
#include "platform/linux/posix/Examine.h"
#include "platform/linux/posix/MountTable.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace velmora {

/// A walk over everything below a root that goes on from where it stopped: one system call to open a folder, one to
/// examine an entry, both relative to the folder's descriptor.
///
/// Owns: at most `maximumOpenFolders` descriptors, and of every folder on its way the names of one read that it has
/// still to enter; depth is limited by the length of paths alone.
/// Fails with: `AppError.recoverable` when the root cannot be read; everything else is passed over.
class FolderWalk {
  public:
    static constexpr std::size_t maximumOpenFolders = 64;

    /// `root` in bytes.
    FolderWalk(const std::string& root, SkipRule skipRule);

    /// Up to `limit` further entries; none at the end. Stops early once `stopped` says so, which is asked now and then.
    std::vector<IndexedFile> next(std::size_t limit, const std::function<bool()>& stopped);

  private:
    struct Subfolder {
        std::string name;  // in bytes
        FileIdentity identity;
    };
    struct Frame {
        Descriptor folder;  // closed and opened again on trees deeper than `maximumOpenFolders`
        FileIdentity identity;
        std::size_t pathBytes = 0;  // of `path_`, without a slash at its end
        std::vector<Subfolder> toEnter;
        std::int64_t position = 0;  // of the folder's descriptor
        bool exhausted = false;
    };

    void advance(std::vector<IndexedFile>& files);
    void examine(const DirectoryReader::Entry& entry, std::vector<IndexedFile>& files);
    void readOn(Frame& frame);
    void enterNext();
    void push(Descriptor folder, FileIdentity identity);
    [[nodiscard]] bool isAmongAncestors(const FileIdentity& identity) const;
    void leave();

    std::string path_;  // text of the folder on top
    MountTable mounts_;
    const SkipRule skipRule_;
    std::vector<Frame> frames_;
    DirectoryReader reader_;
};

}  // namespace velmora

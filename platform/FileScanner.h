#pragma once

#include "core/async/Stream.h"
#include "core/files/IndexedFile.h"
#include "core/files/SkipRule.h"

#include <string>
#include <vector>

namespace velmora {

/// Walks one folder tree.
class FileScanner {
  public:
    virtual ~FileScanner() = default;

    /// Everything below `root` (a leading "~" is the home folder), the root itself left out, in batches of at most
    /// 5,000 entries; a folder comes before what it holds. What the rule skips is left out, and packages are listed
    /// but not entered. What cannot be read is passed over, but a root that cannot be read ends the stream with
    /// `AppError.recoverable`. Dropping the stream ends the walk.
    [[nodiscard]] virtual Stream<std::vector<IndexedFile>> scan(std::string root, SkipRule skipRule) = 0;
};

}  // namespace velmora

#pragma once

#include <string>
#include <vector>

namespace velmora {

/// Which icon the desktop shows for a file: an application's own, or that of its type.
///
/// Runs on: any thread; the call reads the disk. Fails with: nothing, what cannot be read has no icon.
class FileIcons {
  public:
    virtual ~FileIcons() = default;

    /// What the image file of the icon holds, 8 MiB at most and whatever it is; empty: there is none. Names are looked
    /// up in the icon themes `themes`, the preferred one first, for a picture of `pixels` × `pixels`.
    [[nodiscard]] virtual std::string find(const std::string& path, const std::vector<std::string>& themes,
                                           int pixels) const = 0;
};

}  // namespace velmora

#pragma once

#include "platform/ApplicationBundles.h"
#include "platform/linux/applications/DesktopEnvironment.h"

#include <memory>

namespace velmora {

/// Applications on Linux: directories named "*.app" with an Info.plist, and desktop entries, whose identifier is their
/// desktop id without the ending ".desktop".
///
/// Runs on: any thread. Keeps what it has parsed, and reads a file again only when it has changed. It is the one place
/// that knows the installed applications' descriptions.
class LinuxApplicationBundles final : public ApplicationBundles {
  public:
    explicit LinuxApplicationBundles(DesktopEnvironment environment);
    ~LinuxApplicationBundles() override;

    [[nodiscard]] std::vector<std::string> roots() const override;
    [[nodiscard]] bool isApplicationName(std::string_view name, bool isDirectory) const override;
    [[nodiscard]] bool mayLaunch(const std::string& path) const override;
    [[nodiscard]] std::optional<BundleInformation> read(const std::string& path,
                                                        const std::string& root) const override;

    /// The identifier of the application that a window with these `classes` belongs to, of those that were read.
    [[nodiscard]] std::optional<std::string> findByWindow(const std::vector<std::string>& classes) const;

  private:
    class Cache;

    DesktopEnvironment environment_;
    std::unique_ptr<Cache> cache_;
};

}  // namespace velmora

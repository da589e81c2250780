#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// What an application says of itself; a text is cut off where no real one is as long.
struct BundleInformation {
    std::optional<std::string> displayName;  ///< in the user's language
    std::optional<std::string> identifier;
    /// Not to be listed, and no entry of a less important root with the same identifier either.
    bool hidden = false;
};

/// The platform's notion of an installed application: which folders hold them, which entries they are, what they
/// contain.
///
/// Runs on: any thread; the calls read the disk. Fails with: nothing, what cannot be read is absent.
class ApplicationBundles {
  public:
    virtual ~ApplicationBundles() = default;

    /// The folders to look in, absolute, least important first: of two applications with one identifier the one from
    /// the later root counts.
    [[nodiscard]] virtual std::vector<std::string> roots() const = 0;

    /// Whether a directory entry of that name is an application, by its name alone.
    [[nodiscard]] virtual bool isApplicationName(std::string_view name, bool isDirectory) const = 0;

    /// Whether what lies at the absolute `path` may be launched although no scan has found it: a bundle that exists, or
    /// a description of an application below one of the roots, links resolved. A description anywhere else is a file
    /// that somebody may have sent, and it can name any command.
    [[nodiscard]] virtual bool mayLaunch(const std::string& path) const = 0;

    /// Reads the bundle at `path`, found below `root`. Nothing when it cannot be read at all.
    [[nodiscard]] virtual std::optional<BundleInformation> read(const std::string& path,
                                                                const std::string& root) const = 0;
};

}  // namespace velmora

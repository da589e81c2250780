#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace velmora {

/// Reports which paths below some folders have changed.
///
/// Runs on: the main thread, the handler included.
class FileEventWatching {
  public:
    /// Paths whose present state is to be looked at, whatever has happened to them, and the identifier up to which
    /// nothing is left to report. A folder that came into being, or into the watched roots, is reported with everything
    /// below it; of one that is gone, only the folder itself may be. Without paths, the number of swept folders has
    /// changed.
    using Handler = std::function<void(std::vector<std::string> paths, std::uint64_t lastEventID)>;

    virtual ~FileEventWatching() = default;

    /// Reports changes below `roots` from now on (`sinceID` 0), or everything that has changed since that identifier.
    /// Does nothing while it is already running. Throws `AppError.recoverable` when nothing can be watched.
    virtual void start(std::vector<std::string> roots, std::uint64_t sinceID, Handler handler) = 0;

    /// Ends the reports: the handler is not called again. `start` may follow.
    virtual void stop() = 0;

    /// An identifier for this moment: watching that starts from it later reports everything that changed since.
    [[nodiscard]] virtual std::uint64_t currentEventID() const = 0;

    /// How many folders the system's limits leave to a slow sweep, whose changes are reported minutes late; 0 while
    /// every folder is watched.
    [[nodiscard]] virtual std::size_t sweptFolders() const = 0;
};

}  // namespace velmora

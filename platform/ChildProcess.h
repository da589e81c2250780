#pragma once

#include "core/async/Stream.h"
#include "core/text/Secret.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// What becomes of what a program writes to standard error.
enum class ErrorOutput {
    discard,
    collect,  ///< the first 4 KiB are kept and the rest is thrown away
    stream,
};

/// A program to start. There is no shell: arguments reach it as they are.
struct ChildProcessRequest {
    std::string executable;  ///< absolute
    std::vector<std::string> arguments = {};
    /// "NAME=value", all that it gets. Without: what the user's own programs need to know of the session.
    std::optional<std::vector<std::string>> environment = std::nullopt;
    /// Further entries, which are wiped when nobody holds the request any more.
    std::shared_ptr<std::vector<Secret>> secretEnvironment = {};
    bool hasInput = false;  ///< whether it is written to; it reads the end at once otherwise
    bool hasOutput = true;  ///< whether its standard output is read; it is discarded otherwise
    ErrorOutput errors = ErrorOutput::collect;
    bool endsGroup = false;  ///< whether what it leaves behind in its process group is killed when it ends
};

/// How a program ended.
struct ChildProcessEnd {
    int status = 0;      ///< 0 for success; a program that a signal ended has 128 and the signal's number
    std::string errors;  ///< what it wrote to standard error, where that is collected; may hold any bytes
};

/// A started program, the leader of a process group of its own, with default signals and no descriptor but the standard
/// ones.
///
/// Runs on: any thread; each of write, output and errors by one task at a time. A program whose owner lets go of it
/// lives on; its input is closed, and what it writes is thrown away.
class ChildProcess {
  public:
    virtual ~ChildProcess() = default;

    /// Writes to its standard input, and waits while it does not read. Fails with: `std::system_error` when it has
    /// ended or closed its input, or the input was closed. After a cancellation part of it may have been written.
    [[nodiscard]] virtual Task<> write(std::string bytes) = 0;

    /// It reads the end after what was written.
    virtual void closeInput() = 0;

    /// What it writes to standard output, in pieces of at most 64 KiB; a slow reader holds it up. Ends when nobody has
    /// the output open any more, or soon after the program itself has ended.
    [[nodiscard]] virtual Stream<std::string>& output() = 0;

    /// The same of standard error, where that is a stream.
    [[nodiscard]] virtual Stream<std::string>& errors() = 0;

    /// Waits until it has ended. A cancelled caller waits no longer, except for a program that was told to terminate,
    /// which is gone in bounded time.
    [[nodiscard]] virtual Task<ChildProcessEnd> finished() = 0;

    /// Asks its process group to end, and after `grace` makes it, so that it is gone in bounded time whatever it does.
    /// Does nothing once it has ended or was told before.
    virtual void terminate(std::chrono::milliseconds grace) = 0;
};

/// Starts programs.
///
/// Runs on: any thread; the work is done elsewhere. Fails with: `std::exception` when there is nothing to start.
class ChildProcesses {
  public:
    virtual ~ChildProcesses() = default;

    /// Whether there is a file at `path` that the user may execute.
    [[nodiscard]] virtual Task<bool> isExecutable(std::string path) = 0;

    [[nodiscard]] virtual Task<std::shared_ptr<ChildProcess>> start(ChildProcessRequest request) = 0;
};

/// What a program did from its start to its end. The texts may hold any bytes.
struct ChildProcessResult {
    ChildProcessEnd end;
    std::string output;
    bool exceededLimit = false;  ///< it wrote more than was allowed and was terminated
};

/// Reads what `child` writes to standard output, at most `limit` bytes, and waits for its end. Cancelling the caller
/// terminates it, and waits until it is gone.
Task<ChildProcessResult> collect(std::shared_ptr<ChildProcess> child, std::size_t limit,
                                 std::chrono::milliseconds grace = std::chrono::seconds(2));

}  // namespace velmora

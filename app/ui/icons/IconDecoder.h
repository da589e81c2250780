#pragma once

#include "platform/ChildProcess.h"

#include <QImage>
#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

namespace velmora {

/// Turns image files into pictures, in a process of its own: a drawing of a few lines can keep a renderer busy for ever
/// or fill the memory, and nothing but the end of its process ends that.
///
/// Runs on: the main thread, one picture at a time. Owns: the process, from the first picture until it rests.
class IconDecoder {
  public:
    /// With this as its only argument the program is that process.
    static constexpr const char* argument = "--decode-icons";

    explicit IconDecoder(ChildProcesses& processes) : processes_(processes) {}
    ~IconDecoder() { rest(); }
    IconDecoder(const IconDecoder&) = delete;
    IconDecoder& operator=(const IconDecoder&) = delete;

    /// What an image file holds, fitted into `size` × `size` pixels. A null image for what is no picture (`IconImage`)
    /// or takes too much to be one. Must outlive the task.
    [[nodiscard]] Task<QImage> decode(std::string contents, int size);

    /// Lets the process end; the next picture starts another.
    void rest();

    /// What the process does until `input` ends. `endAfter` ends it unless it is called again within that time, with
    /// zero for no end.
    static void serve(std::istream& input, std::ostream& output,
                      const std::function<void(std::chrono::milliseconds)>& endAfter);

  private:
    [[nodiscard]] Task<QImage> exchange(std::string question, std::uint32_t size);
    void kill();

    ChildProcesses& processes_;
    std::shared_ptr<ChildProcess> process_;
};

}  // namespace velmora

#pragma once

#include "platform/linux/posix/Descriptor.h"
#include "tests/fakes/TemporaryFolder.h"

#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

struct wl_client;
struct wl_display;
struct wl_resource;

namespace velmora::test {

/// A Wayland compositor with nothing but a clipboard, whose owner answers as badly as it is told.
class Compositor {
  public:
    enum class How {
        whole,        ///< and closes
        silent,       ///< never writes, never closes
        endless,      ///< never stops writing
        losesItself,  ///< the clipboard is emptied instead of an answer
    };

    struct Content {
        std::map<std::string, std::string> forms{};  ///< by target
        How how = How::whole;
    };

    explicit Compositor(bool sharesClipboard = true);
    ~Compositor();
    Compositor(const Compositor&) = delete;
    Compositor& operator=(const Compositor&) = delete;

    [[nodiscard]] const std::string& name() const { return socket_; }

    /// Puts it on the clipboard; no forms at all empty it.
    void own(Content content);

    /// How often anything was asked for.
    [[nodiscard]] int requests() const { return requests_; }

  private:
    struct Protocol;

    void announce(wl_resource* device);
    void answer(const std::string& target, Descriptor into);
    void serve();

    TemporaryFolder folder_;
    std::string socket_ = folder_.path() + "/wayland";
    std::mutex mutex_;  // of the display and what follows
    wl_display* display_;
    std::set<wl_resource*> devices_;
    Content content_;
    std::vector<Descriptor> held_;
    std::vector<std::jthread> writers_;
    std::atomic<int> requests_{0};
    std::jthread thread_;  // the last: it uses all of the others
};

}  // namespace velmora::test

#include "platform/linux/posix/Descriptor.h"
#include "platform/linux/watch/DirectoryMarks.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace velmora {
namespace {

constexpr std::uint32_t changes =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE;
constexpr std::uint32_t listingChanges = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr std::uint32_t selfChanges = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::size_t bufferBytes = std::size_t{64} * 1024;

// No handle of the other kind begins with this bit.
constexpr std::uint64_t ours = std::uint64_t{1} << 63;

class InotifyMarks final : public DirectoryMarks {
  public:
    explicit InotifyMarks(Descriptor queue) : queue_(std::move(queue)), buffer_(bufferBytes) {}

    std::variant<MarkKey, Failure> add(int folder, bool isRoot) override {
        const std::string path = "/proc/self/fd/" + std::to_string(folder);
        const std::uint32_t mask = changes | IN_ONLYDIR | IN_EXCL_UNLINK | (isRoot ? selfChanges : 0);
        const int watch = inotify_add_watch(queue_.get(), path.c_str(), mask);
        if (watch >= 0) return MarkKey{ours, static_cast<std::uint64_t>(watch)};
        return errno == ENOSPC || errno == ENOMEM ? Failure::exhausted : Failure::refused;
    }

    bool remove(MarkKey mark) override {
        inotify_rm_watch(queue_.get(), static_cast<int>(mark.low));  // fails when the folder has taken it along
        return true;
    }

    void read(DirectoryEvents& events) override {
        for (;;) {
            const ssize_t bytes = ::read(queue_.get(), buffer_.data(), buffer_.size());
            if (bytes <= 0) return;
            for (std::size_t at = 0; at + sizeof(inotify_event) <= static_cast<std::size_t>(bytes);) {
                inotify_event head;
                std::memcpy(&head, buffer_.data() + at, sizeof head);
                take(head, buffer_.data() + at + sizeof head, events);
                at += sizeof head + head.len;
            }
        }
    }

    [[nodiscard]] bool owns(MarkKey mark) const override { return mark.high == ours; }
    [[nodiscard]] int descriptor() const override { return queue_.get(); }
    [[nodiscard]] std::size_t limit() const override { return halfOfLimit("/proc/sys/fs/inotify/max_user_watches"); }

  private:
    static void take(const inotify_event& head, const char* name, DirectoryEvents& events) {
        if (head.mask & IN_Q_OVERFLOW) events.hasOverflowed = true;
        DirectoryEvent event;
        if (head.len > 0) event.name = name;
        if (head.wd < 0 || (event.name.empty() && !(head.mask & selfChanges))) return;
        event.folder = {ours, static_cast<std::uint64_t>(head.wd)};
        event.isFolder = (head.mask & IN_ISDIR) != 0;
        event.isListing = (head.mask & listingChanges) != 0;
        event.hasAppeared = (head.mask & (IN_CREATE | IN_MOVED_TO)) != 0;
        event.hasMovedAway = (head.mask & IN_MOVED_FROM) != 0;
        events.events.push_back(std::move(event));
    }

    Descriptor queue_;
    std::vector<char> buffer_;
};

}  // namespace

std::unique_ptr<DirectoryMarks> makeInotifyMarks() {
    Descriptor queue(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!queue) return nullptr;
    return std::make_unique<InotifyMarks>(std::move(queue));
}

}  // namespace velmora

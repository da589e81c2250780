#include "platform/linux/posix/Descriptor.h"
#include "platform/linux/watch/DirectoryMarks.h"

#include <fcntl.h>
#include <sys/fanotify.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>

#ifndef AT_HANDLE_FID
#define AT_HANDLE_FID 0x200  // Linux 6.5: a handle to compare, from file systems that cannot open one
#endif

namespace velmora {
namespace {

constexpr std::uint64_t changes = FAN_CREATE | FAN_DELETE | FAN_MOVED_FROM | FAN_MOVED_TO | FAN_MODIFY | FAN_ATTRIB |
                                  FAN_CLOSE_WRITE | FAN_ONDIR | FAN_EVENT_ON_CHILD;
constexpr std::uint64_t listingChanges = FAN_CREATE | FAN_DELETE | FAN_MOVED_FROM | FAN_MOVED_TO;
constexpr std::uint64_t selfChanges = FAN_DELETE_SELF | FAN_MOVE_SELF;
constexpr std::size_t bufferBytes = std::size_t{64} * 1024;

std::uint64_t hashed(std::string_view bytes, std::uint64_t value) {
    for (const char byte : bytes) {
        value = (value ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;  // FNV-1a
        value ^= value >> 29;
    }
    return value;
}

/// Handles are up to 128 bytes long; 128 bits of them, with their file system's, are as good.
MarkKey keyOf(std::string_view fileSystem, int type, std::string_view handle) {
    const auto seed = static_cast<std::uint64_t>(type);
    return {hashed(handle, hashed(fileSystem, 0xCBF29CE484222325U ^ seed)) >> 1,
            hashed(handle, hashed(fileSystem, 0x9E3779B97F4A7C15U ^ seed))};
}

class FanotifyMarks final : public DirectoryMarks {
  public:
    explicit FanotifyMarks(Descriptor group) : group_(std::move(group)), buffer_(bufferBytes) {}

    std::variant<MarkKey, Failure> add(int folder, bool isRoot) override {
        struct statfs fileSystem;
        alignas(file_handle) std::array<char, sizeof(file_handle) + MAX_HANDLE_SZ> storage;
        auto* handle = reinterpret_cast<file_handle*>(storage.data());
        handle->handle_bytes = MAX_HANDLE_SZ;
        int mount = 0;
        if (fstatfs(folder, &fileSystem) != 0) return Failure::refused;
        if (name_to_handle_at(folder, "", handle, &mount, AT_EMPTY_PATH) != 0) {
            handle->handle_bytes = MAX_HANDLE_SZ;
            if (name_to_handle_at(folder, "", handle, &mount, AT_EMPTY_PATH | AT_HANDLE_FID) != 0)
                return Failure::refused;
        }
        const std::uint64_t mask = isRoot ? changes | selfChanges : changes;
        if (fanotify_mark(group_.get(), FAN_MARK_ADD | FAN_MARK_ONLYDIR, mask, folder, nullptr) != 0)
            return errno == ENOSPC || errno == ENOMEM ? Failure::exhausted : Failure::refused;
        return keyOf({reinterpret_cast<const char*>(&fileSystem.f_fsid), sizeof fileSystem.f_fsid}, handle->handle_type,
                     {reinterpret_cast<const char*>(handle->f_handle), handle->handle_bytes});
    }

    // The system wants the folder itself, which is no longer where it was.
    bool remove(MarkKey /*mark*/) override { return false; }

    void read(DirectoryEvents& events) override {
        for (;;) {
            const ssize_t bytes = ::read(group_.get(), buffer_.data(), buffer_.size());
            if (bytes <= 0) return;
            std::string_view rest(buffer_.data(), static_cast<std::size_t>(bytes));
            while (rest.size() >= sizeof(fanotify_event_metadata)) {
                fanotify_event_metadata head;
                std::memcpy(&head, rest.data(), sizeof head);
                if (head.event_len < sizeof head || head.event_len > rest.size()) break;
                if (head.fd >= 0) close(head.fd);
                if (head.mask & FAN_Q_OVERFLOW) events.hasOverflowed = true;
                take(head, rest.substr(head.metadata_len, head.event_len - head.metadata_len), events);
                rest.remove_prefix(head.event_len);
            }
        }
    }

    [[nodiscard]] bool owns(MarkKey mark) const override { return mark.high >> 63 == 0; }
    [[nodiscard]] int descriptor() const override { return group_.get(); }
    [[nodiscard]] std::size_t limit() const override { return halfOfLimit("/proc/sys/fs/fanotify/max_user_marks"); }

  private:
    /// The records of one event: header, file system, handle, name.
    static void take(const fanotify_event_metadata& head, std::string_view records, DirectoryEvents& events) {
        fanotify_event_info_header record;
        while (records.size() >= sizeof record) {
            std::memcpy(&record, records.data(), sizeof record);
            if (record.len < sizeof record || record.len > records.size()) return;
            if (record.info_type == FAN_EVENT_INFO_TYPE_DFID_NAME || record.info_type == FAN_EVENT_INFO_TYPE_DFID)
                takeName(head.mask, records.substr(0, record.len), events);
            records.remove_prefix(record.len);
        }
    }

    static void takeName(std::uint64_t mask, std::string_view record, DirectoryEvents& events) {
        file_handle handle;
        constexpr std::size_t handleAt = offsetof(fanotify_event_info_fid, handle);
        constexpr std::size_t fileSystemAt = offsetof(fanotify_event_info_fid, fsid);
        if (record.size() < handleAt + sizeof handle) return;
        std::memcpy(&handle, record.data() + handleAt, sizeof handle);
        const std::size_t bytesAt = handleAt + offsetof(file_handle, f_handle);
        if (record.size() < bytesAt + handle.handle_bytes) return;
        DirectoryEvent event;
        event.folder = keyOf(record.substr(fileSystemAt, handleAt - fileSystemAt), handle.handle_type,
                             record.substr(bytesAt, handle.handle_bytes));
        std::string_view name = record.substr(bytesAt + handle.handle_bytes);
        name = name.substr(0, name.find('\0'));
        if (name != ".") event.name = name;
        event.isFolder = (mask & FAN_ONDIR) != 0;
        event.isListing = (mask & listingChanges) != 0;
        event.hasAppeared = (mask & (FAN_CREATE | FAN_MOVED_TO)) != 0;
        event.hasMovedAway = (mask & FAN_MOVED_FROM) != 0;
        if (!event.name.empty() || (mask & selfChanges) != 0) events.events.push_back(std::move(event));
    }

    Descriptor group_;
    std::vector<char> buffer_;
};

}  // namespace

std::unique_ptr<DirectoryMarks> makeFanotifyMarks() {
    Descriptor group(fanotify_init(FAN_CLASS_NOTIF | FAN_REPORT_DFID_NAME | FAN_CLOEXEC | FAN_NONBLOCK, 0));
    if (!group) return nullptr;
    return std::make_unique<FanotifyMarks>(std::move(group));
}

std::size_t halfOfLimit(const char* file) {
    constexpr std::size_t assumed = 8192;  // the least that systems give
    std::ifstream stream(file);
    std::size_t limit = assumed;
    if (!(stream >> limit)) limit = assumed;
    return limit / 2;
}

}  // namespace velmora

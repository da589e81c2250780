#pragma once

#include "core/AppError.h"
#include "platform/FileAttributeReading.h"
#include "platform/FileEventWatching.h"
#include "platform/FileScanner.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace velmora::test {

/// A disk made of a list of paths; those that end in "/" are folders. It can refuse, and hold a scan back.
struct FakeDisk {
    std::set<std::string> entries;
    std::set<std::string> unreadableRoots;
    bool watchingFails = false;
    std::size_t sweptFolders = 0;
    std::uint64_t now = 5000;

    std::vector<std::string> scans;
    bool holdsScans = false;
    std::map<std::string, std::shared_ptr<StreamWriter<std::vector<IndexedFile>>>> held;  // by their roots

    std::vector<std::string> watched;
    std::vector<std::uint64_t> watchedSince;
    FileEventWatching::Handler handler;
    std::vector<std::string> examined;
    std::function<void()> onExamine;

    [[nodiscard]] static IndexedFile file(std::string entry) {
        IndexedFile made;
        made.isDirectory = entry.ends_with('/');
        if (made.isDirectory) entry.pop_back();
        made.name = entry.substr(entry.rfind('/') + 1);
        made.path = std::move(entry);
        made.size = 10;
        return made;
    }
};

using BatchWriter = StreamWriter<std::vector<IndexedFile>>;

/// Hands a batch to whoever reads the stream, or to nobody when the reader has gone.
inline void deliver(const Executor& executor, const std::shared_ptr<BatchWriter>& writer,
                    std::vector<IndexedFile> batch) {
    spawn(executor, [writer, batch = std::move(batch)] { return writer->write(batch); });
}

class FakeScanner final : public FileScanner {
  public:
    FakeScanner(FakeDisk& disk, Executor executor) : disk_(disk), executor_(std::move(executor)) {}

    [[nodiscard]] Stream<std::vector<IndexedFile>> scan(std::string root, SkipRule) override {
        disk_.scans.push_back(root);
        auto [stream, made] = makeStream<std::vector<IndexedFile>>(64);
        auto writer = std::make_shared<BatchWriter>(std::move(made));
        if (disk_.unreadableRoots.contains(root)) {
            writer->fail(std::make_exception_ptr(AppError::recoverable("The index folder could not be read.")));
        } else if (disk_.holdsScans) {
            disk_.held[root] = writer;
        } else {
            std::vector<IndexedFile> batch;
            for (const std::string& entry : disk_.entries) {
                if (entry.starts_with(root + "/")) batch.push_back(FakeDisk::file(entry));
            }
            spawn(executor_, [writer, batch = std::move(batch)]() -> Task<> {
                if (!batch.empty()) co_await writer->write(batch);
                writer->finish();
            });
        }
        return std::move(stream);
    }

  private:
    FakeDisk& disk_;
    Executor executor_;
};

class FakeWatcher final : public FileEventWatching {
  public:
    explicit FakeWatcher(FakeDisk& disk) : disk_(disk) {}

    void start(std::vector<std::string> roots, std::uint64_t sinceID, Handler handler) override {
        if (disk_.watchingFails) throw AppError::recoverable("File system monitoring could not start.");
        disk_.watched = std::move(roots);
        disk_.watchedSince.push_back(sinceID);
        disk_.handler = std::move(handler);
    }
    void stop() override { disk_.handler = nullptr; }
    [[nodiscard]] std::uint64_t currentEventID() const override { return disk_.now; }
    [[nodiscard]] std::size_t sweptFolders() const override { return disk_.sweptFolders; }

  private:
    FakeDisk& disk_;
};

class FakeAttributes final : public FileAttributeReading {
  public:
    explicit FakeAttributes(FakeDisk& disk) : disk_(disk) {}

    [[nodiscard]] std::optional<ScannedAttributes> attributes(const std::string& path) const override {
        disk_.examined.push_back(path);
        if (disk_.onExamine) disk_.onExamine();
        if (disk_.entries.contains(path + "/")) return ScannedAttributes{true, 4096, 0};
        if (disk_.entries.contains(path)) return ScannedAttributes{false, 10, 1000};
        return std::nullopt;
    }

  private:
    FakeDisk& disk_;
};

}  // namespace velmora::test

#include "platform/linux/watch/FSEventsWatcher.h"

#include "core/AppError.h"
#include "core/Assert.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <unordered_set>

namespace velmora {
namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

// Well below what makes the index give up on single paths.
constexpr std::size_t maximumPathsPerReport = 4'000;
constexpr std::size_t rowsPerAnswer = 2'000;
constexpr std::size_t foldersBetweenFetches = 64;

/// An event's identifier is its time in microseconds since 1970.
std::uint64_t identifierOf(FileTime time) {
    return static_cast<std::uint64_t>(time.time_since_epoch().count());
}

std::optional<FileTime> timeOf(std::uint64_t identifier) {
    if (identifier == 0) return std::nullopt;
    return FileTime(FileTime::duration(static_cast<std::int64_t>(identifier)));
}

int millisecondsUntil(SteadyTime time) {
    constexpr std::chrono::milliseconds longest{60'000};
    const SteadyTime now = std::chrono::steady_clock::now();
    if (time <= now) return 0;
    return static_cast<int>(std::min(std::chrono::ceil<std::chrono::milliseconds>(time - now), longest).count());
}

}  // namespace

/// One run from `start` to `stop`. Shared by the watcher, its thread and what is on its way to the main thread.
class FSEventsWatcher::Session final : public WatchHost, public std::enable_shared_from_this<Session> {
  public:
    Session(const FSEventsWatcher& owner, const std::vector<std::string>& roots, std::uint64_t sinceID, Handler handler)
        : main_(owner.main_),
          index_(owner.index_),
          options_(owner.options_),
          handler_(std::move(handler)),
          wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          watch_(*this, roots, owner.options_.tree),
          since_(timeOf(sinceID)) {
        if (!wake_) throw AppError::recoverable("File system monitoring could not start.");
    }

    void start() {
        thread_ = std::thread([self = shared_from_this()] { self->run(); });
    }

    void stop() {
        constexpr std::chrono::seconds timeout{2};
        stopped_ = true;
        eventfd_write(wake_.get(), 1);
        handler_ = nullptr;
        std::unique_lock lock(mutex_);
        changed_.notify_all();
        const bool hasEnded = changed_.wait_for(lock, timeout, [&] { return hasEnded_; });
        lock.unlock();
        hasEnded ? thread_.join() : thread_.detach();
    }

    [[nodiscard]] std::size_t unmarkedFolders() const { return unmarked_; }
    [[nodiscard]] bool isComplete() const { return isComplete_; }

    bool isStopped() override { return stopped_; }

    void betweenFolders() override {
        if (++foldersSeen_ % foldersBetweenFetches == 0) watch_.fetchEvents();
    }

    void report(std::string path) override {
        if (paths_.empty()) deadline_ = std::chrono::steady_clock::now() + options_.latency;
        paths_.insert(std::move(path));
        if (paths_.size() >= maximumPathsPerReport) deliverPaths(reportedUntil_);
    }

    std::optional<std::vector<IndexedFile>> indexedChildren(const std::string& folder) override {
        return ask([folder](IndexReading& index) { return index.children(folder); });
    }

    std::optional<std::vector<IndexedFile>> indexedBelow(const std::string& folder, const std::string& after) override {
        return ask([folder, after](IndexReading& index) { return index.below(folder, after, rowsPerAnswer); });
    }

  private:
    using Question = std::function<Task<std::vector<IndexedFile>>(IndexReading&)>;
    struct Answer {
        bool isThere = false;
        std::optional<std::vector<IndexedFile>> rows;
    };

    std::optional<std::vector<IndexedFile>> ask(Question question);

    void run();
    void loop();
    bool wait(SteadyTime until, bool& mountsChanged);
    bool waitForStop(std::chrono::milliseconds time);
    void deliverPaths(FileTime until);
    void deliver(std::vector<std::string> paths, FileTime until);
    void deliverAll();

    const MainExecutor main_;
    const std::shared_ptr<IndexReading> index_;
    const Options options_;
    Handler handler_;  // main thread only

    std::atomic<bool> stopped_{false};
    std::atomic<bool> isComplete_{false};
    std::atomic<std::size_t> unmarked_{0};
    Descriptor wake_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool hasEnded_ = false;
    std::thread thread_;

    // The thread's own.
    TreeWatch watch_;
    const std::optional<FileTime> since_;
    FileTime reportedUntil_;    // everything up to this time has been delivered
    FileTime handledUntil_;     // everything up to this time is delivered or in `paths_`
    std::uint64_t lastID_ = 0;  // that was delivered
    std::unordered_set<std::string> paths_;
    SteadyTime deadline_ = SteadyTime::max();
    std::size_t foldersSeen_ = 0;
};

void FSEventsWatcher::Session::run() {
    loop();
    const std::lock_guard lock(mutex_);
    hasEnded_ = true;
    changed_.notify_all();
}

void FSEventsWatcher::Session::loop() {
    const FileTime begun = fileTimeNow();
    // An identifier that is still to come was made before the clock was set back.
    reportedUntil_ = std::min(since_.value_or(begun), begun);
    watch_.begin(since_);
    handledUntil_ = begun;
    deliverAll();
    isComplete_ = !stopped_;
    SteadyTime due = watch_.doDueWork();
    while (!stopped_) {
        if (unmarked_.exchange(watch_.unmarkedFolders()) != watch_.unmarkedFolders()) deliver({}, reportedUntil_);
        bool mountsChanged = false;
        const SteadyTime until = watch_.hasFetchedEvents() ? SteadyTime::min() : std::min(due, deadline_);
        const bool hasEvents = wait(until, mountsChanged) || watch_.hasFetchedEvents();
        if (mountsChanged) watch_.mountsChanged();
        if (hasEvents && !waitForStop(options_.gathering)) {
            const FileTime now = fileTimeNow();
            watch_.fetchEvents();
            watch_.handleEvents(reportedUntil_);
            handledUntil_ = now;
        }
        if (!stopped_) due = watch_.doDueWork();
        if (std::chrono::steady_clock::now() >= deadline_ || paths_.empty()) deliverAll();
    }
}

/// Waits for events, a change of mounts, the stop or a time; whether there are events.
bool FSEventsWatcher::Session::wait(SteadyTime until, bool& mountsChanged) {
    std::vector<pollfd> waits{{wake_.get(), POLLIN, 0}, {watch_.mountDescriptor(), POLLPRI, 0}};
    for (const int descriptor : watch_.eventDescriptors())
        waits.push_back({descriptor, POLLIN, 0});
    if (poll(waits.data(), waits.size(), millisecondsUntil(until)) <= 0) return false;
    mountsChanged = (waits[1].revents & (POLLPRI | POLLERR)) != 0;
    return std::any_of(waits.begin() + 2, waits.end(), [](const pollfd& each) { return each.revents != 0; });
}

bool FSEventsWatcher::Session::waitForStop(std::chrono::milliseconds time) {
    pollfd stop{wake_.get(), POLLIN, 0};
    return poll(&stop, 1, static_cast<int>(time.count())) > 0;
}

void FSEventsWatcher::Session::deliverAll() {
    if (stopped_) return;
    reportedUntil_ = std::max(reportedUntil_, handledUntil_);
    deliverPaths(reportedUntil_);
}

void FSEventsWatcher::Session::deliverPaths(FileTime until) {
    deadline_ = SteadyTime::max();
    if (paths_.empty()) return;
    std::vector<std::string> paths(paths_.begin(), paths_.end());
    paths_.clear();
    deliver(std::move(paths), until);
}

void FSEventsWatcher::Session::deliver(std::vector<std::string> paths, FileTime until) {
    if (stopped_) return;
    // When marks run out, time falls back to the last sweep. But until then everything was marked and has been
    // reported.
    lastID_ = std::max(lastID_, identifierOf(std::min(until, watch_.sweptUntil().value_or(until))));
    spawn(main_, [self = shared_from_this(), paths = std::move(paths), identifier = lastID_]() -> Task<> {
        const Handler handler = self->handler_;  // which may stop the watcher
        if (!self->stopped_ && handler) handler(paths, identifier);
        co_return;
    });
}

/// Has a question answered on the main thread and waits for it, but not beyond the stop.
std::optional<std::vector<IndexedFile>> FSEventsWatcher::Session::ask(Question question) {
    if (!index_) return std::nullopt;
    const auto answer = std::make_shared<Answer>();
    spawn(main_, [self = shared_from_this(), answer, question = std::move(question)]() -> Task<> {
        std::optional<std::vector<IndexedFile>> rows;
        try {
            if (!self->stopped_) {
                auto found = co_await question(*self->index_);
                rows = std::move(found);
            }
        } catch (...) {
            rows.reset();  // the index cannot say, which the caller copes with
        }
        const std::lock_guard lock(self->mutex_);
        answer->rows = std::move(rows);
        answer->isThere = true;
        self->changed_.notify_all();
    });
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return answer->isThere || stopped_; });
    return std::move(answer->rows);
}

FSEventsWatcher::FSEventsWatcher(MainExecutor main, std::shared_ptr<IndexReading> index, Options options)
    : main_(std::move(main)), index_(std::move(index)), options_(std::move(options)) {}

FSEventsWatcher::~FSEventsWatcher() {
    stop();
}

void FSEventsWatcher::start(std::vector<std::string> roots, std::uint64_t sinceID, Handler handler) {
    VELMORA_ASSERT_MAIN();
    if (session_) return;
    if (options_.rootMounts) options_.rootMounts->setRoots(roots);
    session_ = std::make_shared<Session>(*this, roots, sinceID, std::move(handler));
    session_->start();
}

void FSEventsWatcher::stop() {
    VELMORA_ASSERT_MAIN();
    if (const auto session = std::exchange(session_, nullptr)) session->stop();
}

std::uint64_t FSEventsWatcher::currentEventID() const {
    // The file system's clock ticks more slowly than ours: a change that is still to come may carry an earlier time.
    constexpr std::chrono::milliseconds tick{20};
    return identifierOf(fileTimeNow() - tick);
}

std::size_t FSEventsWatcher::sweptFolders() const {
    return session_ ? session_->unmarkedFolders() : 0;
}

bool FSEventsWatcher::isComplete() const {
    return session_ && session_->isComplete();
}

}  // namespace velmora

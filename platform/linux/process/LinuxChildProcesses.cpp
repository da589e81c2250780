#include "platform/linux/process/LinuxChildProcesses.h"

#include "platform/linux/process/SpawnedProcess.h"

#include <sys/wait.h>

#include <array>
#include <atomic>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <csignal>
#include <utility>

namespace asio = boost::asio;

namespace velmora {
namespace {

constexpr std::size_t errorLimit = 4096;
constexpr std::size_t bufferBytes = std::size_t{64} * 1024;

using Strand = asio::strand<Executor>;
using Stream = asio::posix::basic_stream_descriptor<Strand>;
using Timer =
    asio::basic_waitable_timer<std::chrono::steady_clock, asio::wait_traits<std::chrono::steady_clock>, Strand>;

/// What a program writes to one pipe. Read to its end in any case, so that the program is never held up; kept up to
/// a limit.
struct Collector {
    Collector(const Strand& strand, int descriptor, std::size_t most) : stream(strand, descriptor), limit(most) {}

    Stream stream;
    std::size_t limit;
    std::string kept;
    bool exceeded = false;
    bool atEnd = false;
    std::array<char, bufferBytes> buffer{};

    void keep(std::size_t bytes) {
        const std::size_t room = limit - kept.size();
        exceeded = exceeded || bytes > room;
        kept.append(buffer.data(), std::min(bytes, room));
    }
};

/// How a program ended, once it has.
struct Outcome {
    bool settled = false;
    ChildProcessEnding ending{.status = 128 + SIGKILL, .output = {}, .errors = {}};
};

/// Follows one program, on the strand. What is pending there keeps it alive, and nothing else does: it holds on to the
/// tasks that wait for it, so that one of those that held on to it would never go.
class Follower final : public std::enable_shared_from_this<Follower> {
  public:
    Follower(Strand strand, SpawnedProcess spawned, std::size_t outputLimit, LinuxChildProcesses::Patience patience,
             std::shared_ptr<Outcome> outcome)
        : strand_(std::move(strand)),
          outcome_(std::move(outcome)),
          patience_(patience),
          process_(spawned.process),
          output_(strand_, spawned.output.release(), outputLimit),
          errors_(strand_, spawned.errors.release(), errorLimit),
          handle_(strand_, spawned.handle.release()),
          timer_(strand_) {}

    void follow() {
        asio::post(strand_, [self = shared_from_this()] {
            self->read(self->output_);
            self->read(self->errors_);
            self->awaitEnd();
        });
    }

    /// Resumes `waiter` once the outcome is settled.
    void await(std::shared_ptr<detail::Waiter> waiter) {
        if (outcome_->settled) return waiter->resume();
        waiters_.push_back(std::move(waiter));
    }

    void terminate() {
        if (ended_ || std::exchange(terminating_, true)) return;
        signalGroup(SIGTERM);
        after(patience_.untilKilled, &Follower::killGroup);
    }

  private:
    void read(Collector& from) {
        from.stream.async_read_some(
            asio::buffer(from.buffer),
            [self = shared_from_this(), &from](const boost::system::error_code& error, std::size_t bytes) {
                from.keep(bytes);
                if (&from == &self->output_ && from.exceeded && from.limit > 0) self->terminate();
                if (!error) return self->read(from);
                from.atEnd = true;
                boost::system::error_code ignored;
                from.stream.close(ignored);
                self->look();
            });
    }

    void awaitEnd() {
        handle_.async_wait(Stream::wait_read, [self = shared_from_this()](const boost::system::error_code& error) {
            if (error) return;
            self->ended_ = true;
            if (self->outcome_->settled) return self->reap();
            if (!self->terminating_) self->after(self->patience_.untilDrained, &Follower::settle);
            self->look();
        });
    }

    void after(std::chrono::milliseconds duration, void (Follower::*then)()) {
        timer_.expires_after(duration);
        timer_.async_wait([self = shared_from_this(), then](const boost::system::error_code& error) {
            if (!error) ((*self).*then)();
        });
    }

    /// Whether there is nothing left to wait for.
    void look() {
        if (ended_ && output_.atEnd && errors_.atEnd) settle();
    }

    void killGroup() {
        signalGroup(SIGKILL);
        after(patience_.untilGivenUp, &Follower::settle);
    }

    /// The group cannot be anybody else's as long as its leader has not been waited for.
    void signalGroup(int number) const {
        if (!reaped_) ::kill(-process_, number);
    }

    void settle() {
        if (ended_) reap();
        if (std::exchange(outcome_->settled, true)) return;
        timer_.cancel();
        outcome_->ending.output = std::move(output_.kept);
        outcome_->ending.errors = std::move(errors_.kept);
        outcome_->ending.exceededLimit = output_.exceeded && output_.limit > 0;
        // Nothing more is kept; what others still write is read on and dropped, or they would be held up by it.
        output_.limit = errors_.limit = 0;
        output_.kept = errors_.kept = {};
        for (const auto& waiter : std::exchange(waiters_, {}))
            waiter->resume();
    }

    void reap() {
        if (std::exchange(reaped_, true)) return;
        // Whoever of a terminated group ignored the request goes with its leader.
        if (terminating_) ::kill(-process_, SIGKILL);
        siginfo_t how{};
        if (::waitid(P_PID, static_cast<id_t>(process_), &how, WEXITED | WNOHANG) != 0) how.si_status = 1;
        if (outcome_->settled) return;  // whoever waited may be reading it
        outcome_->ending.status = how.si_code == CLD_EXITED || how.si_pid == 0 ? how.si_status : 128 + how.si_status;
    }

    const Strand strand_;
    const std::shared_ptr<Outcome> outcome_;
    const LinuxChildProcesses::Patience patience_;
    const int process_;
    Collector output_;
    Collector errors_;
    Stream handle_;
    Timer timer_;
    bool ended_ = false;
    bool reaped_ = false;
    bool terminating_ = false;
    std::vector<std::shared_ptr<detail::Waiter>> waiters_;
};

class LinuxChildProcess final : public ChildProcess, public std::enable_shared_from_this<LinuxChildProcess> {
  public:
    LinuxChildProcess(const Executor& pool, SpawnedProcess spawned, std::size_t outputLimit,
                      LinuxChildProcesses::Patience patience)
        : strand_(asio::make_strand(pool)) {
        const auto follower = std::make_shared<Follower>(strand_, std::move(spawned), outputLimit, patience, outcome_);
        follower_ = follower;
        follower->follow();
    }

    [[nodiscard]] Task<ChildProcessEnding> ending() override {
        const auto self = shared_from_this();
        const bool cancelled = co_await isCancelled();
        if (cancelled) {
            terminate();
            throw Cancelled{};
        }
        const std::function<void(std::shared_ptr<detail::Waiter>)> park = [&](std::shared_ptr<detail::Waiter> waiter) {
            asio::post(strand_, [follower = follower_, waiter = std::move(waiter)] {
                if (const auto alive = follower.lock()) return alive->await(waiter);
                waiter->resume();
            });
        };
        const std::function<void(detail::Waiter&)> onCancel = [self](detail::Waiter&) { self->terminate(); };
        co_await detail::suspend(park, onCancel);
        co_await throwIfCancelled();
        co_return outcome_->ending;
    }

    void terminate() override {
        asio::post(strand_, [follower = follower_] {
            if (const auto alive = follower.lock()) alive->terminate();
        });
    }

  private:
    const Strand strand_;
    const std::shared_ptr<Outcome> outcome_ = std::make_shared<Outcome>();
    std::weak_ptr<Follower> follower_;
};

}  // namespace

LinuxChildProcesses::LinuxChildProcesses(Executor pool, std::string home, Patience patience)
    : pool_(std::move(pool)), home_(std::move(home)), patience_(patience), environment_(minimalEnvironment()) {}

Task<std::shared_ptr<ChildProcess>> LinuxChildProcesses::start(ChildProcessRequest request) {
    Actor worker(pool_);
    const auto spawn = [this, &request] {
        SpawnedProcess spawned = SpawnedProcess::start(request, home_, environment_);
        return std::make_shared<LinuxChildProcess>(pool_, std::move(spawned), request.outputLimit, patience_);
    };
    co_return co_await worker.run(spawn);
}

}  // namespace velmora

#include "platform/linux/process/LinuxChildProcesses.h"

#include "core/Assert.h"
#include "core/async/Completion.h"
#include "platform/linux/posix/ExecutableFile.h"
#include "platform/linux/process/SpawnedProcess.h"

#include <sys/wait.h>

#include <array>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace asio = boost::asio;

namespace velmora {
namespace {

constexpr std::size_t collectedErrors = 4096;
constexpr std::size_t pieceBytes = std::size_t{64} * 1024;
constexpr std::size_t piecesAhead = 4;

using Strand = asio::strand<Executor>;
using Pipe = asio::posix::basic_stream_descriptor<Strand>;
using Timer =
    asio::basic_waitable_timer<std::chrono::steady_clock, asio::wait_traits<std::chrono::steady_clock>, Strand>;
using Pieces = StreamWriter<std::string>;

/// What the program writes to one pipe. It is read to its end in any case; what nobody wants is thrown away, so that
/// neither the program nor what it leaves behind is held up by it.
struct Output {
    Output(const Strand& strand, Descriptor descriptor, Pieces writer) : pipe(strand), pieces(std::move(writer)) {
        if (descriptor) {
            pipe.assign(descriptor.release());
        } else {
            end();
        }
    }

    void end() {
        if (pieces) pieces->finish();
        pieces.reset();
        room = 0;
        isEnded = true;
    }

    /// Keeps the beginning instead of streaming it.
    void collect(std::size_t bytes) {
        if (pieces) pieces->finish();
        pieces.reset();
        room = bytes;
    }

    [[nodiscard]] bool hasMore() {
        Pipe::bytes_readable waiting;
        boost::system::error_code error;
        pipe.io_control(waiting, error);
        return !error && waiting.get() > 0;
    }

    Pipe pipe;
    std::optional<Pieces> pieces;
    std::string kept;
    std::size_t room = 0;  ///< for what is kept
    bool isEnded = false;
    std::array<char, pieceBytes> buffer{};
};

/// How a program ended, once it has.
struct Outcome {
    bool settled = false;
    ChildProcessEnd end{.status = 128 + SIGKILL, .errors = {}};
};

/// Follows one program, on the strand. What is pending there keeps it alive, and nothing else does: it holds on to the
/// tasks that wait for it, so that one of those that held on to it would never go.
class Follower final : public std::enable_shared_from_this<Follower> {
  public:
    Follower(Strand strand, SpawnedProcess spawned, const ChildProcessRequest& request, Pieces output, Pieces errors,
             LinuxChildProcesses::Timeouts timeouts, std::shared_ptr<Outcome> outcome)
        : strand_(std::move(strand)),
          outcome_(std::move(outcome)),
          timeouts_(timeouts),
          endsGroup_(request.endsGroup),
          collectsErrors_(request.errors == ErrorOutput::collect),
          process_(spawned.process),
          input_(strand_),
          output_(strand_, std::move(spawned.output), std::move(output)),
          errors_(strand_, std::move(spawned.errors), std::move(errors)),
          handle_(strand_, spawned.handle.release()),
          timer_(strand_) {
        if (spawned.input) input_.assign(spawned.input.release());
        if (collectsErrors_) errors_.collect(collectedErrors);
    }

    void follow() {
        for (Output* const from : {&output_, &errors_}) {
            if (from->pipe.is_open()) spawn(strand_, [self = shared_from_this(), from] { return self->read(*from); });
        }
        handle_.async_wait(Pipe::wait_read, [self = shared_from_this()](const boost::system::error_code& error) {
            if (!error) self->onEnd();
        });
    }

    /// `caller` tells those who wait apart.
    void await(const void* caller, const Completion<ChildProcessEnd>& completion) {
        if (outcome_->settled) return completion.fulfil(outcome_->end);
        waiting_.emplace_back(caller, completion);
    }

    /// The caller was cancelled.
    void leave(const void* caller) {
        if (!terminating_) std::erase_if(waiting_, [caller](const auto& one) { return one.first == caller; });
    }

    void write(std::string bytes, const Completion<int>& done) {
        VELMORA_ASSERT(!writing_);
        writing_ = true;
        stopsWriting_ = false;
        spawn(strand_, [self = shared_from_this(), bytes = std::move(bytes), done]() -> Task<> {
            const int error = co_await self->writeAll(bytes);
            done.fulfil(error);
        });
    }

    void stopWriting() {
        stopsWriting_ = true;
        boost::system::error_code ignored;
        input_.cancel(ignored);
    }

    void closeInput() {
        boost::system::error_code ignored;
        input_.close(ignored);
    }

    void terminate(std::chrono::milliseconds grace) {
        if (ended_ || std::exchange(terminating_, true)) return;
        ::kill(-process_, SIGTERM);
        after(grace, &Follower::killGroup);
    }

  private:
    Task<> read(Output& from) {
        for (;;) {
            if (drained_ && !from.isEnded && !from.hasMore()) from.end();
            boost::system::error_code error;
            const auto into = asio::buffer(from.buffer);
            const std::size_t bytes =
                co_await from.pipe.async_read_some(into, asio::redirect_error(asio::use_awaitable, error));
            if (error == asio::error::operation_aborted) continue;
            if (error) break;
            std::string piece(from.buffer.data(), bytes);
            co_await take(from, std::move(piece));
        }
        from.end();
        boost::system::error_code ignored;
        from.pipe.close(ignored);
        settleIfOver();
    }

    static Task<> take(Output& from, std::string piece) {
        from.kept.append(piece, 0, from.room);
        from.room -= std::min(from.room, piece.size());
        if (!from.pieces) co_return;
        try {
            co_await from.pieces->write(std::move(piece));
        } catch (const Cancelled&) {
            from.pieces.reset();  // its reader is gone
        }
    }

    /// An error number; 0 once all is written.
    Task<int> writeAll(std::string_view bytes) {
        int error = input_.is_open() ? 0 : EPIPE;
        while (!error && !bytes.empty()) {
            const WriteResult result = writeToPipe(input_.native_handle(), bytes);
            bytes.remove_prefix(result.written);
            error = result.error == EAGAIN ? 0 : result.error;
            if (result.error != EAGAIN) continue;
            boost::system::error_code failure;
            co_await input_.async_wait(Pipe::wait_write, asio::redirect_error(asio::use_awaitable, failure));
            if (failure || stopsWriting_) error = EPIPE;
        }
        writing_ = false;
        co_return error;
    }

    void onEnd() {
        ended_ = true;
        closeInput();
        reap();
        after(timeouts_.untilDrained, &Follower::giveUp);
        settleIfOver();
    }

    /// Takes what is there now for all that there is.
    void giveUp() {
        drained_ = true;
        boost::system::error_code ignored;
        output_.pipe.cancel(ignored);
        errors_.pipe.cancel(ignored);
        settle();
    }

    void killGroup() {
        if (ended_) return;
        ::kill(-process_, SIGKILL);
        after(timeouts_.untilGivenUp, &Follower::giveUp);
    }

    void after(std::chrono::milliseconds duration, void (Follower::*then)()) {
        timer_.expires_after(duration);
        timer_.async_wait([self = shared_from_this(), then](const boost::system::error_code& error) {
            if (!error) ((*self).*then)();
        });
    }

    void settleIfOver() {
        if (ended_ && output_.isEnded && errors_.isEnded) timer_.cancel();
        if (ended_ && (errors_.isEnded || !collectsErrors_)) settle();
    }

    void settle() {
        if (std::exchange(outcome_->settled, true)) return;
        outcome_->end.errors = std::move(errors_.kept);
        errors_.room = 0;
        for (const auto& [caller, completion] : std::exchange(waiting_, {}))
            completion.fulfil(outcome_->end);
    }

    void reap() {
        // The group cannot be anybody else's as long as its leader has not been waited for.
        if (terminating_ || endsGroup_) ::kill(-process_, SIGKILL);
        siginfo_t how{};
        if (::waitid(P_PID, static_cast<id_t>(process_), &how, WEXITED | WNOHANG) != 0) how.si_status = 1;
        if (outcome_->settled) return;  // given up before
        outcome_->end.status = how.si_code == CLD_EXITED || how.si_pid == 0 ? how.si_status : 128 + how.si_status;
    }

    const Strand strand_;
    const std::shared_ptr<Outcome> outcome_;
    const LinuxChildProcesses::Timeouts timeouts_;
    const bool endsGroup_;
    const bool collectsErrors_;
    const int process_;
    Pipe input_;
    Output output_;
    Output errors_;
    Pipe handle_;
    Timer timer_;
    bool writing_ = false;
    bool stopsWriting_ = false;
    bool terminating_ = false;
    bool ended_ = false;
    bool drained_ = false;  ///< what is still open no longer counts
    std::vector<std::pair<const void*, Completion<ChildProcessEnd>>> waiting_;
};

class LinuxChildProcess final : public ChildProcess, public std::enable_shared_from_this<LinuxChildProcess> {
  public:
    LinuxChildProcess(const Executor& pool, SpawnedProcess spawned, const ChildProcessRequest& request,
                      LinuxChildProcesses::Timeouts timeouts)
        : strand_(asio::make_strand(pool)) {
        const auto follower =
            std::make_shared<Follower>(strand_, std::move(spawned), request, std::move(output_.second),
                                       std::move(errors_.second), timeouts, outcome_);
        follower_ = follower;
        asio::post(strand_, [follower] { follower->follow(); });
    }
    ~LinuxChildProcess() override { LinuxChildProcess::closeInput(); }
    LinuxChildProcess(const LinuxChildProcess&) = delete;
    LinuxChildProcess& operator=(const LinuxChildProcess&) = delete;

    [[nodiscard]] Task<> write(std::string bytes) override {
        const auto self = shared_from_this();
        co_await throwIfCancelled();
        const auto ask = [&](const Completion<int>& done) {
            asio::post(strand_, [follower = follower_, bytes = std::move(bytes), done]() mutable {
                if (const auto alive = follower.lock()) return alive->write(std::move(bytes), done);
                done.fulfil(EPIPE);
            });
        };
        const auto stop = [self] { self->perform([](Follower& follower) { follower.stopWriting(); }); };
        const int error = co_await Completion<int>::await(ask, stop);
        co_await throwIfCancelled();
        if (error) throw std::system_error(error, std::generic_category(), "the program takes no input");
    }

    void closeInput() override {
        perform([](Follower& follower) { follower.closeInput(); });
    }

    [[nodiscard]] Stream<std::string>& output() override { return output_.first; }
    [[nodiscard]] Stream<std::string>& errors() override { return errors_.first; }

    [[nodiscard]] Task<ChildProcessEnd> finished() override {
        const auto self = shared_from_this();
        const auto ask = [&](const Completion<ChildProcessEnd>& completion) {
            asio::post(strand_, [caller = &self, follower = follower_, outcome = outcome_, completion] {
                if (const auto alive = follower.lock()) return alive->await(caller, completion);
                if (outcome->settled) completion.fulfil(outcome->end);
            });
        };
        const auto leave = [&self] { self->perform([caller = &self](Follower& follower) { follower.leave(caller); }); };
        co_return co_await Completion<ChildProcessEnd>::await(ask, leave);
    }

    void terminate(std::chrono::milliseconds grace) override {
        perform([grace](Follower& follower) { follower.terminate(grace); });
    }

  private:
    template <class Work>
    void perform(Work work) {
        asio::post(strand_, [follower = follower_, work] {
            if (const auto alive = follower.lock()) work(*alive);
        });
    }

    const Strand strand_;
    const std::shared_ptr<Outcome> outcome_ = std::make_shared<Outcome>();
    std::weak_ptr<Follower> follower_;
    std::pair<Stream<std::string>, Pieces> output_ = makeStream<std::string>(piecesAhead);
    std::pair<Stream<std::string>, Pieces> errors_ = makeStream<std::string>(piecesAhead);
};

}  // namespace

LinuxChildProcesses::LinuxChildProcesses(Executor pool, std::string home, Timeouts timeouts)
    : pool_(std::move(pool)), home_(std::move(home)), timeouts_(timeouts), environment_(minimalEnvironment()) {}

Task<bool> LinuxChildProcesses::isExecutable(std::string path) {
    Actor worker(pool_);
    const auto look = [&path] { return isExecutableFile(path); };
    co_return co_await worker.run(look);
}

Task<std::shared_ptr<ChildProcess>> LinuxChildProcesses::start(ChildProcessRequest request) {
    Actor worker(pool_);
    const auto spawn = [this, &request] {
        SpawnedProcess spawned = SpawnedProcess::start(request, home_, request.environment.value_or(environment_));
        return std::make_shared<LinuxChildProcess>(pool_, std::move(spawned), request, timeouts_);
    };
    co_return co_await worker.run(spawn);
}

}  // namespace velmora

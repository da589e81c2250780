#pragma once

#include "core/async/Async.h"

#include <QEvent>
#include <boost/asio/execution.hpp>
#include <boost/asio/execution_context.hpp>
#include <memory>
#include <utility>

namespace velmora {

/// The main thread's event loop as the executor that tasks run on.
///
/// Each piece of work is one posted event, so pieces run in the order they were posted and the loop stays free to
/// handle input between them.
///
/// Runs on: made and destroyed on the main thread, after and before the application object; executors of it may be
/// used from any thread and may outlive it. Work that has not run when it is destroyed, or comes later, is dropped.
class QtMainExecutor {
  public:
    QtMainExecutor();
    ~QtMainExecutor();
    QtMainExecutor(const QtMainExecutor&) = delete;
    QtMainExecutor& operator=(const QtMainExecutor&) = delete;

    [[nodiscard]] MainExecutor executor() const;

  private:
    class Loop;
    class Handle;

    /// A piece of work on its way to the main thread.
    class Piece : public QEvent {
      public:
        Piece();
        virtual void run() = 0;
    };

    template <class Work>
    class PieceOf final : public Piece {
      public:
        explicit PieceOf(Work work) : work_(std::move(work)) {}
        void run() override { std::move(work_)(); }

      private:
        Work work_;
    };

    static void post(Loop& loop, std::unique_ptr<Piece> piece);
    static boost::asio::execution_context& context(Loop& loop);

    std::shared_ptr<Loop> loop_;
};

/// What Asio sees: a copyable reference to the loop. Work never runs inside `execute`.
class QtMainExecutor::Handle {
  public:
    explicit Handle(std::shared_ptr<Loop> loop) noexcept : loop_(std::move(loop)) {}

    template <class Work>
    void execute(Work&& work) const {
        post(*loop_, std::make_unique<PieceOf<std::decay_t<Work>>>(std::forward<Work>(work)));
    }

    [[nodiscard]] boost::asio::execution_context& query(boost::asio::execution::context_t) const noexcept {
        return context(*loop_);
    }
    [[nodiscard]] static constexpr boost::asio::execution::blocking_t query(
        boost::asio::execution::blocking_t) noexcept {
        return boost::asio::execution::blocking.never;
    }
    [[nodiscard]] Handle require(boost::asio::execution::blocking_t::never_t) const { return *this; }

    bool operator==(const Handle&) const noexcept = default;

  private:
    std::shared_ptr<Loop> loop_;
};

}  // namespace velmora

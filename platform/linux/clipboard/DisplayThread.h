#pragma once

#include "core/async/Async.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>

#include <functional>
#include <stop_token>
#include <thread>
#include <utility>

namespace velmora {

/// A thread for one connection to a display server. It sleeps while nothing happens.
class DisplayThread {
  public:
    DisplayThread() : thread_([this] { context_.run(); }) {}
    ~DisplayThread() { end(); }
    DisplayThread(const DisplayThread&) = delete;
    DisplayThread& operator=(const DisplayThread&) = delete;

    [[nodiscard]] boost::asio::io_context& context() { return context_; }

    /// Runs `work` on the thread, after what came before. It should end early when its stop token says so: once the
    /// caller is cancelled, or the thread is to end.
    template <class Result>
    Task<Result> run(std::function<Result(const std::stop_token& stop)> work) {
        const auto piece = [&](const std::stop_token& stop) {
            std::stop_source either;
            const std::stop_callback byCaller(stop, [&] { either.request_stop(); });
            const std::stop_callback bySession(ending_.get_token(), [&] { either.request_stop(); });
            return work(either.get_token());
        };
        co_return co_await actor_.run(piece);
    }

    /// Ends what runs and waits for it. Nothing runs on the thread afterwards.
    void end() {
        ending_.request_stop();
        context_.stop();
        if (thread_.joinable()) thread_.join();
    }

  private:
    std::stop_source ending_;
    boost::asio::io_context context_{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> running_ =
        boost::asio::make_work_guard(context_);
    Actor actor_{context_.get_executor()};
    std::thread thread_;
};

}  // namespace velmora

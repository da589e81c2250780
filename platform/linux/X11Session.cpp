#include "platform/linux/X11Session.h"

#include "platform/linux/X11ActiveWindow.h"
#include "platform/linux/X11Selection.h"

#include <atomic>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <thread>

namespace asio = boost::asio;

namespace velmora {
namespace {

/// The connection and what is known through it. Made and used on the session's thread.
struct Display {
    Display(asio::io_context& context, const X11Session::Options& options, std::atomic<std::int64_t>& changes)
        : connection(options.display), descriptor(context) {
        if (!connection.isHealthy()) return;
        selection.emplace(connection, options.patience, changes);
        activeWindow.emplace(connection);
        connection.onEvent = [this](const xcb_generic_event_t& event) {
            selection->handle(event);
            activeWindow->handle(event);
        };
        descriptor.assign(connection.descriptor());
        listen();
    }
    ~Display() {
        if (descriptor.is_open()) descriptor.release();  // the connection closes it
    }
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    void listen() {
        // What a reply brought along waits inside the connection and does not show on the descriptor.
        connection.handlePending();
        if (!connection.isHealthy()) return;
        descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                              [this](const boost::system::error_code& error) {
                                  if (!error) listen();
                              });
    }

    X11Connection connection;
    std::optional<X11Selection> selection;        // none: no display
    std::optional<X11ActiveWindow> activeWindow;  // none: no display
    asio::posix::stream_descriptor descriptor;
};

}  // namespace

struct X11Session::Thread {
    explicit Thread(Options given) : options(std::move(given)), actor(context.get_executor()) {
        asio::post(context, [this] { display = std::make_unique<Display>(context, options, changes); });
        thread = std::thread([this] { context.run(); });
    }
    ~Thread() {
        ending.request_stop();
        context.stop();
        thread.join();
    }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Runs `work` on the display, when there is one; ends early when the caller or the session does.
    template <class Result, class Work>
    Task<Result> ask(Work work) {
        const auto piece = [&](const std::stop_token& stop) {
            Result result{};
            if (!display->selection || !display->connection.isHealthy()) return result;
            std::stop_source either;
            const std::stop_callback byCaller(stop, [&] { either.request_stop(); });
            const std::stop_callback bySession(ending.get_token(), [&] { either.request_stop(); });
            result = work(*display, either.get_token());
            display->connection.handlePending();
            return result;
        };
        co_return co_await actor.run(piece);
    }

    Options options;
    std::atomic<std::int64_t> changes{0};
    std::stop_source ending;
    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> running = asio::make_work_guard(context);
    std::unique_ptr<Display> display;
    Actor actor;
    std::thread thread;
};

X11Session::X11Session(Options options) : thread_(std::make_unique<Thread>(std::move(options))) {}

X11Session::~X11Session() = default;

std::int64_t X11Session::clipboardChanges() const {
    return thread_->changes;
}

Task<std::vector<std::string>> X11Session::clipboardTypes() {
    const auto work = [](Display& display, const std::stop_token& stop) { return display.selection->types(stop); };
    return thread_->ask<std::vector<std::string>>(work);
}

Task<std::optional<std::string>> X11Session::clipboardString(std::string type, std::size_t maximumBytes) {
    const auto work = [type = std::move(type), maximumBytes](Display& display, const std::stop_token& stop) {
        return display.selection->string(type, maximumBytes, stop);
    };
    return thread_->ask<std::optional<std::string>>(work);
}

Task<std::vector<std::string>> X11Session::activeWindowClasses() {
    const auto work = [](Display& display, const std::stop_token&) { return display.activeWindow->classes(); };
    return thread_->ask<std::vector<std::string>>(work);
}

}  // namespace velmora

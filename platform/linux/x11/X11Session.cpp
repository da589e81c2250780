#include "platform/linux/x11/X11Session.h"

#include "platform/linux/clipboard/DisplayThread.h"
#include "platform/linux/x11/X11ActiveWindow.h"
#include "platform/linux/x11/X11Selection.h"

#include <atomic>

namespace asio = boost::asio;

namespace velmora {
namespace {

/// The connection and what is known through it. Made and used on the session's thread.
struct Display {
    Display(asio::io_context& context, const X11Session::Options& options, std::atomic<std::int64_t>& changes)
        : connection(options.display), descriptor(context) {
        if (!connection.isHealthy()) return;
        selection.emplace(connection, options.timeout, changes);
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

    /// Handles what has arrived, in turns with what is asked of the session.
    void handlePending() {
        // What a reply brought along waits inside the connection and does not show on the descriptor.
        const bool isMore = connection.handlePending() || (activeWindow && activeWindow->update());
        if (!isMore || std::exchange(goesOn, true)) return;
        asio::post(descriptor.get_executor(), [this] {
            goesOn = false;
            handlePending();
        });
    }

    void listen() {
        handlePending();
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
    bool goesOn = false;  // a turn is to come
};

}  // namespace

struct X11Session::Thread {
    explicit Thread(Options given) : options(std::move(given)) {
        asio::post(session.context(),
                   [this] { display = std::make_unique<Display>(session.context(), options, changes); });
    }
    ~Thread() {
        session.end();
        display.reset();
    }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Runs `work` on the display, when there is one.
    template <class Result>
    Task<Result> ask(std::function<Result(Display& display, const std::stop_token& stop)> work) {
        return session.run<Result>([this, work = std::move(work)](const std::stop_token& stop) {
            Result result{};
            if (!display->selection || !display->connection.isHealthy()) return result;
            result = work(*display, stop);
            display->handlePending();
            return result;
        });
    }

    Options options;
    std::atomic<std::int64_t> changes{0};
    std::unique_ptr<Display> display;
    DisplayThread session;
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

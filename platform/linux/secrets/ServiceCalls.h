#pragma once

#include <libsecret/secret.h>

#include <chrono>
#include <memory>
#include <stop_token>

/// The calls of one operation on the Secret Service. Blocks; runs on: worker threads.
namespace velmora::secretservice {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Object = std::unique_ptr<T, Unref>;

/// Makes asynchronous calls and waits for each, in a main context of its own that nothing else runs in.
///
/// All of them together have one deadline, which stands still while the service asks the user something. Whatever does
/// not end with its cancellation is left behind: the context is never run again, so that it calls nobody back.
class ServiceCalls {
  public:
    using Duration = std::chrono::milliseconds;

    /// Either token ends what is waited for.
    ServiceCalls(Duration answer, Duration question, std::stop_token stop, std::stop_token ending);
    ~ServiceCalls();
    ServiceCalls(const ServiceCalls&) = delete;
    ServiceCalls& operator=(const ServiceCalls&) = delete;

    /// The service on the session bus; none when there is no bus or nobody answered.
    Object<SecretService> open();

    /// Calls `begin` with the cancellable, callback and data of an asynchronous call, and waits for its result. None
    /// when time is up or the caller wants no more.
    template <class Begin>
    Object<GAsyncResult> await(Begin begin) {
        if (isLeftBehind_) return nullptr;
        GAsyncResult* result = nullptr;
        begin(cancellable_.get(), &ServiceCalls::onReady, static_cast<gpointer>(&result));
        waitFor(result);
        return Object<GAsyncResult>(result);
    }

    /// The service begins or ends asking the user.
    void asks(bool doesAsk);

  private:
    using SteadyClock = std::chrono::steady_clock;

    bool connect();
    static void onReady(GObject*, GAsyncResult* result, gpointer data);
    void waitFor(GAsyncResult*& result);
    void runUntil(GAsyncResult*& result, const SteadyClock::time_point& deadline, bool endsWithStop);

    const Duration answer_;
    const Duration question_;
    const std::stop_token stop_;
    const std::stop_token ending_;
    GMainContext* const context_;
    GSource* const tick_;
    const Object<GCancellable> cancellable_;
    Object<GDBusConnection> bus_;
    SteadyClock::time_point deadline_;
    bool isLeftBehind_ = false;  ///< something was
};

}  // namespace velmora::secretservice

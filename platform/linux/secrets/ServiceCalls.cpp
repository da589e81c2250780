#include "platform/linux/secrets/ServiceCalls.h"

#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace velmora::secretservice {
namespace {

using namespace std::chrono_literals;

constexpr unsigned tickMilliseconds = 20;
constexpr auto untilLeftBehind = 200ms;
constexpr const char* callsKey = "velmora-calls";

/// Without this check GLib would start a bus.
bool hasSessionBus() {
    const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (address && *address) return true;
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    return folder && access((std::string(folder) + "/bus").c_str(), F_OK) == 0;
}

SecretServiceClass* inherited() {
    static SecretServiceClass* const parent = SECRET_SERVICE_CLASS(g_type_class_ref(SECRET_TYPE_SERVICE));
    return parent;
}

void tell(SecretService* service, bool asks) {
    auto* const calls = static_cast<ServiceCalls*>(g_object_get_data(G_OBJECT(service), callsKey));
    if (calls) calls->asks(asks);
}

void beginPrompt(SecretService* service, SecretPrompt* prompt, const GVariantType* type, GCancellable* cancellable,
                 GAsyncReadyCallback callback, gpointer data) {
    tell(service, true);
    inherited()->prompt_async(service, prompt, type, cancellable, callback, data);
}

GVariant* endPrompt(SecretService* service, GAsyncResult* result, GError** error) {
    tell(service, false);
    return inherited()->prompt_finish(service, result, error);
}

/// The library's service, which says when it asks the user.
GType serviceType() {
    static const GType type = g_type_register_static_simple(
        SECRET_TYPE_SERVICE, "VelmoraSecretService", sizeof(SecretServiceClass),
        [](gpointer made, gpointer) {
            auto* const service = static_cast<SecretServiceClass*>(made);
            service->prompt_async = beginPrompt;
            service->prompt_finish = endPrompt;
        },
        sizeof(SecretService), nullptr, GTypeFlags{});
    return type;
}

gboolean keepTicking(gpointer) {
    return G_SOURCE_CONTINUE;
}

}  // namespace

ServiceCalls::ServiceCalls(Duration answer, Duration question, std::stop_token stop, std::stop_token ending)
    : answer_(answer),
      question_(question),
      stop_(std::move(stop)),
      ending_(std::move(ending)),
      context_(g_main_context_new()),
      tick_(g_timeout_source_new(tickMilliseconds)),
      cancellable_(g_cancellable_new()),
      deadline_(SteadyClock::now() + answer) {
    g_source_set_callback(tick_, keepTicking, nullptr, nullptr);
    g_source_attach(tick_, context_);
    g_main_context_push_thread_default(context_);
}

ServiceCalls::~ServiceCalls() {
    bus_.reset();
    g_source_destroy(tick_);
    g_source_unref(tick_);
    // What was let go of is given back here.
    while (!isLeftBehind_ && g_main_context_iteration(context_, FALSE)) {
    }
    g_main_context_pop_thread_default(context_);
    g_main_context_unref(context_);
}

Object<SecretService> ServiceCalls::open() {
    if (!hasSessionBus() || !connect()) return nullptr;
    const auto opened =
        await([](auto... call) { secret_service_open(serviceType(), nullptr, SECRET_SERVICE_NONE, call...); });
    Object<SecretService> service(opened ? secret_service_open_finish(opened.get(), nullptr) : nullptr);
    if (service) g_object_set_data(G_OBJECT(service.get()), callsKey, this);
    return service;
}

/// The process has one connection to its bus. One that broke off is handed out until the last who had it lets go.
bool ServiceCalls::connect() {
    for (;;) {
        const auto connected = await([](auto... call) { g_bus_get(G_BUS_TYPE_SESSION, call...); });
        bus_.reset(connected ? g_bus_get_finish(connected.get(), nullptr) : nullptr);
        if (!bus_) return false;
        // By itself the connection would end the program along with the bus.
        g_dbus_connection_set_exit_on_close(bus_.get(), FALSE);
        if (!g_dbus_connection_is_closed(bus_.get())) return true;
        bus_.reset();
        g_main_context_iteration(context_, TRUE);  // until the next tick
    }
}

void ServiceCalls::asks(bool doesAsk) {
    deadline_ = SteadyClock::now() + (doesAsk ? question_ : answer_);
}

void ServiceCalls::onReady(GObject*, GAsyncResult* result, gpointer data) {
    *static_cast<GAsyncResult**>(data) = G_ASYNC_RESULT(g_object_ref(result));
}

void ServiceCalls::waitFor(GAsyncResult*& result) {
    runUntil(result, deadline_, true);
    if (result) return;
    g_cancellable_cancel(cancellable_.get());
    runUntil(result, SteadyClock::now() + untilLeftBehind, false);
    isLeftBehind_ = isLeftBehind_ || !result;
}

void ServiceCalls::runUntil(GAsyncResult*& result, const SteadyClock::time_point& deadline, bool endsWithStop) {
    const auto isUnwanted = [&] { return endsWithStop && (stop_.stop_requested() || ending_.stop_requested()); };
    while (!result && SteadyClock::now() < deadline && !isUnwanted())
        g_main_context_iteration(context_, TRUE);
}

}  // namespace velmora::secretservice

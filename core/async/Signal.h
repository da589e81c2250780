#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace velmora {

/// Keeps a `Signal` connection; the connection ends when this is destroyed or reset.
class Subscription {
  public:
    Subscription() = default;
    explicit Subscription(std::shared_ptr<void> token) : token_(std::move(token)) {}
    Subscription(Subscription&&) = default;
    Subscription& operator=(Subscription&&) = default;
    void reset() { token_.reset(); }

  private:
    std::shared_ptr<void> token_;
};

/// Change notification. Subscribers are called in the order they subscribed; one may subscribe or unsubscribe, itself
/// included, while it is being called, and a signal may be destroyed by one of its subscribers.
///
/// Runs on: one thread, that of its owner.
template <class... Args>
class Signal {
  public:
    using Callback = std::function<void(Args...)>;

    [[nodiscard]] Subscription subscribe(Callback callback) {
        auto held = std::make_shared<Callback>(std::move(callback));
        callbacks_.push_back(held);
        return Subscription(std::move(held));
    }

    void emit(Args... args) {
        std::erase_if(callbacks_, [](const auto& callback) { return callback.expired(); });
        const auto snapshot = callbacks_;
        for (const auto& weak : snapshot) {
            if (const auto callback = weak.lock()) (*callback)(args...);
        }
    }

  private:
    std::vector<std::weak_ptr<Callback>> callbacks_;
};

}  // namespace velmora

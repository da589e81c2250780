#pragma once

#include "core/async/Signal.h"

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

/// What the parts of the palette's state tell the outside: that fields have changed, that something failed, that the
/// window should hide.
///
/// Runs on: the main thread.
class PaletteFeedback {
  public:
    PaletteFeedback() = default;
    PaletteFeedback(const PaletteFeedback&) = delete;
    PaletteFeedback& operator=(const PaletteFeedback&) = delete;

    /// Gathers the changes of one call: the views hear of them once, when the outermost call is through.
    class Gathering {
      public:
        explicit Gathering(PaletteFeedback& feedback);
        ~Gathering();
        Gathering(const Gathering&) = delete;
        Gathering& operator=(const Gathering&) = delete;

      private:
        PaletteFeedback& feedback_;
    };

    /// Writes a field that views read. What is equal is no change.
    template <class T>
    void set(T& field, T value) {
        const Gathering gathering(*this);
        if (field == value) return;
        field = std::move(value);
        dirty_ = true;
    }

    /// The error line: the failure of what was tried last.
    [[nodiscard]] const std::optional<std::string>& error() const { return error_; }
    void showError(std::string sentence) { set(error_, std::optional(std::move(sentence))); }
    /// Shows what `AppError::friendly` makes of a failure. A cancellation is none.
    void showFailure(const std::exception_ptr& failure);
    void clearError() { set(error_, std::optional<std::string>()); }

    /// What went wrong by itself, mostly while nobody looked: stays until the palette has been shown with it.
    [[nodiscard]] std::string notice() const;
    void addNotice(const std::string& sentence);
    void removeNotice(const std::string& sentence);
    void clearNotices() { set(notices_, {}); }

    void hide() { hide_.emit(); }

    /// Called after every change of one or more fields.
    [[nodiscard]] Subscription onChange(std::function<void()> callback) {
        return changed_.subscribe(std::move(callback));
    }
    /// Called when the palette is to be hidden.
    [[nodiscard]] Subscription onHide(std::function<void()> callback) { return hide_.subscribe(std::move(callback)); }

  private:
    std::optional<std::string> error_;
    std::vector<std::string> notices_;
    Signal<> changed_;
    Signal<> hide_;
    int depth_ = 0;
    bool dirty_ = false;
};

}  // namespace velmora

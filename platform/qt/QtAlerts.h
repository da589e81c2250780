#pragma once

#include "platform/Alerts.h"
#include "platform/WindowManager.h"
#include "platform/qt/AlertDialog.h"

#include <QPointer>
#include <deque>
#include <memory>

namespace velmora {

/// Alerts as dialogs of the desktop, one at a time: a second question waits until the first one is answered.
///
/// Runs on: the main thread, as do the tasks that ask. Cancelling a task takes its question away. Questions that are
/// open when this is destroyed count as dismissed.
class QtAlerts final : public Alerts {
  public:
    /// `hesitation`: how long a question is in front before it can be allowed.
    explicit QtAlerts(WindowManager& windowManager,
                      std::chrono::milliseconds hesitation = AlertDialog::Look().hesitation)
        : windowManager_(windowManager), hesitation_(hesitation) {}
    ~QtAlerts() override;
    QtAlerts(const QtAlerts&) = delete;
    QtAlerts& operator=(const QtAlerts&) = delete;

    [[nodiscard]] Task<bool> confirm(Confirmation confirmation) override;
    [[nodiscard]] Task<> showFailure(std::string title, std::string detail) override;

  private:
    struct Question;

    [[nodiscard]] Task<AlertDialog::Answer> ask(AlertDialog::Kind kind, std::string title, std::string detail);
    void showNext();
    void end(AlertDialog::Answer answer);
    void withdraw(const std::shared_ptr<Question>& question);
    void closeDialog();

    WindowManager& windowManager_;
    std::chrono::milliseconds hesitation_;
    std::deque<std::shared_ptr<Question>> questions_;  // the first one is on screen
    QPointer<AlertDialog> dialog_;
    QPointer<QWidget> parent_;
    QObject loop_;
};

}  // namespace velmora

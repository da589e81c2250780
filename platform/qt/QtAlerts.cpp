#include "platform/qt/QtAlerts.h"

#include "core/Assert.h"
#include "core/async/Completion.h"

#include <QApplication>
#include <QTimer>
#include <algorithm>
#include <utility>

namespace velmora {
namespace {

void bringForward(QWidget& window, WindowManager& windowManager) {
    window.raise();
    window.activateWindow();
    windowManager.activate(window.winId());
}

}  // namespace

struct QtAlerts::Question {
    AlertDialog::Kind kind;
    std::string title;
    std::string detail;
    Completion<AlertDialog::Answer> answer;
};

QtAlerts::~QtAlerts() {
    for (const auto& question : std::exchange(questions_, {}))
        question->answer.fulfil(AlertDialog::Answer::dismissed);
    if (!dialog_) return;
    dialog_->onAnswer = nullptr;
    dialog_->setParent(nullptr);
    const std::unique_ptr<AlertDialog> last(dialog_);
}

Task<bool> QtAlerts::confirm(Confirmation confirmation) {
    std::string detail = std::move(confirmation.detail) + confirmation.rest;
    const auto answer = co_await ask(AlertDialog::Kind::confirmation, std::move(confirmation.title), std::move(detail));
    co_return answer == AlertDialog::Answer::allowed;
}

Task<> QtAlerts::showFailure(std::string title, std::string detail) {
    co_await ask(AlertDialog::Kind::failure, std::move(title), std::move(detail));
}

Task<AlertDialog::Answer> QtAlerts::ask(AlertDialog::Kind kind, std::string title, std::string detail) {
    VELMORA_ASSERT_MAIN();
    co_await throwIfCancelled();
    std::weak_ptr<Question> asked;
    const auto open = [&](const Completion<AlertDialog::Answer>& answer) {
        const auto question = std::make_shared<Question>(Question{kind, title, detail, answer});
        asked = question;
        questions_.push_back(question);
        if (questions_.size() == 1) showNext();
    };
    const auto takeAway = [&] { withdraw(asked.lock()); };
    const auto answer = co_await Completion<AlertDialog::Answer>::await(open, takeAway);
    co_await throwIfCancelled();
    co_return answer;
}

void QtAlerts::showNext() {
    if (dialog_ || questions_.empty()) return;
    const Question& question = *questions_.front();
    if (QWidget* const active = QApplication::activeWindow()) parent_ = active;
    if (parent_ && !parent_->isVisible()) parent_ = nullptr;
    const AlertDialog::Look look{windowManager_.composited(), hesitation_};
    auto dialog = std::make_unique<AlertDialog>(question.kind, question.title, question.detail, parent_, look);
    dialog_ = dialog.release();  // its parent's, or deleted when it is closed
    dialog_->onAnswer = [this](AlertDialog::Answer answer) { end(answer); };
    dialog_->show();
    bringForward(*dialog_, windowManager_);
}

void QtAlerts::end(AlertDialog::Answer answer) {
    const auto question = questions_.front();
    questions_.pop_front();
    question->answer.fulfil(answer);
    closeDialog();
}

void QtAlerts::closeDialog() {
    if (const auto dialog = std::exchange(dialog_, nullptr)) {
        dialog->onAnswer = nullptr;
        dialog->hide();
        dialog->deleteLater();
    }
    // Later: this may be the dialog's own destructor, or its parent's.
    QTimer::singleShot(0, &loop_, [this] {
        // Where nothing else gives the focus back, the window that was asked over would stay without.
        if (questions_.empty() && parent_ && parent_->isVisible()) bringForward(*parent_, windowManager_);
        if (questions_.empty()) parent_ = nullptr;
        showNext();
    });
}

void QtAlerts::withdraw(const std::shared_ptr<Question>& question) {
    const auto place = std::find(questions_.begin(), questions_.end(), question);
    if (place == questions_.end()) return;
    const bool shown = place == questions_.begin();
    questions_.erase(place);
    question->answer.fulfil(AlertDialog::Answer::dismissed);
    if (shown) closeDialog();
}

}  // namespace velmora

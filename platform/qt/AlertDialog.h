#pragma once

#include <QDialog>
#include <QTimer>
#include <chrono>
#include <functional>
#include <string>

class QPushButton;

namespace velmora {

class TextView;

/// One question or message, with its buttons side by side. Its texts are plain text, all of which can be read, however
/// long, and selected; characters that nobody sees are shown as marks.
///
/// "Cancel" is what Return, Escape and closing mean. "Allow" cannot be chosen until the question has been in front for
/// a while without a key being pressed: what was typed or held down for something else is no answer.
class AlertDialog final : public QDialog {
  public:
    enum class Kind { confirmation, failure };
    enum class Answer { dismissed, allowed };

    struct Look {
        bool translucent = false;  ///< windows may be, so that it can have round corners
        /// How long it is in front before it can be allowed.
        std::chrono::milliseconds hesitation{500};
    };

    /// A sheet on `parent` when there is one; a window of its own otherwise.
    AlertDialog(Kind kind, const std::string& title, const std::string& detail, QWidget* parent, Look look);
    /// Closing it by destroying it (its parent, say) dismisses it.
    ~AlertDialog() override;

    /// Called once, whichever way it ends.
    std::function<void(Answer)> onAnswer;

  protected:
    void done(int result) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void becomeSheet(const QWidget& parent, bool translucent);
    [[nodiscard]] TextView* textView(const std::string& text, const QFont& font, int highest);
    [[nodiscard]] QLayout* buttonRow(Kind kind);
    [[nodiscard]] bool take(const QKeyEvent& key);
    void hesitate();
    void answer(Answer answer);

    TextView* title_ = nullptr;
    TextView* detail_ = nullptr;
    QPushButton* allow_ = nullptr;
    QTimer hesitation_;
};

}  // namespace velmora

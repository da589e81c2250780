#pragma once

#include <QDialog>
#include <functional>

namespace velmora {

/// One question or message, with its buttons side by side. All of its texts are plain text, however long.
class AlertDialog final : public QDialog {
  public:
    enum class Kind { confirmation, failure };
    enum class Answer { dismissed, allowed };

    /// A sheet on `parent` when there is one, with round corners where windows may be `translucent`; a window of its
    /// own otherwise.
    AlertDialog(Kind kind, const QString& title, const QString& detail, QWidget* parent, bool translucent);
    /// Closing it by destroying it (its parent, say) dismisses it.
    ~AlertDialog() override;

    /// Called once, whichever way it ends.
    std::function<void(Answer)> onAnswer;

  protected:
    void done(int result) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void becomeSheet(const QWidget& parent, bool translucent);
    QWidget* detailWidget(const QString& detail);
    QWidget* buttonRow(Kind kind);
    void answer(Answer answer);
};

}  // namespace velmora

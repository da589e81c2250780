#pragma once

#include <QPlainTextEdit>
#include <QTimer>

namespace velmora {

/// A text to read, scroll with the wheel and select with the mouse, while the keyboard stays where it is. No part of it
/// takes long enough to be felt, however long its lines or how many.
///
/// The beginning shows at once and the rest follows while the loop has nothing else to do. A line that is longer than
/// the window is high is laid out in pieces; what is selected and copied is the text as it was given.
class PassiveText final : public QPlainTextEdit {
  public:
    explicit PassiveText(QWidget* parent);

    /// Leaves everything as it is, selection and all, when this is the text that is shown already.
    void show(const QString& text);
    /// Scrolls by `pages` heights of the view.
    void scroll(int pages);
    /// Puts the selected part of the text on the clipboard; false when nothing is selected.
    [[nodiscard]] bool copySelection();

  protected:
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;

  private:
    void append();

    QString text_;
    qsizetype shown_ = 0;  // how much of it is in the document
    QTimer more_;
};

}  // namespace velmora

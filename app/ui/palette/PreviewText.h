#pragma once

#include <QPlainTextEdit>
#include <QTimer>

namespace velmora {

/// A text to read, scroll and select, of which no part takes long enough to be felt, however long its lines or how
/// many.
///
/// The beginning shows at once and the rest follows while the loop has nothing else to do. A line that is longer than
/// the window is high is laid out in pieces; what is selected and copied is the text as it was given.
class PreviewText final : public QPlainTextEdit {
  public:
    explicit PreviewText(QWidget* parent);

    void show(const QString& text);

  protected:
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;

  private:
    void append();

    QString text_;
    qsizetype shown_ = 0;  // how much of it is in the document
    QTimer more_;
};

}  // namespace velmora

#pragma once

#include <QWidget>
#include <string>

class QLabel;
class QPlainTextEdit;

namespace velmora {

/// The AI mode's page: its header, and below it what it has to say.
class AnswerView final : public QWidget {
  public:
    explicit AnswerView(QWidget* parent);

    void show(const std::string& text);

  protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void applyTheme();

    QLabel* heading_;
    QPlainTextEdit* text_;
};

}  // namespace velmora

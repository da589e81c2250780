#pragma once

#include <QWidget>
#include <string>

class QLabel;

namespace velmora {

class PassiveText;

/// The AI mode's page: its header, below it what it has to say, and how far it has come.
class AnswerView final : public QWidget {
  public:
    explicit AnswerView(QWidget* parent);

    /// One line of `status`; an empty one takes no room.
    void show(const std::string& text, const std::string& status);
    [[nodiscard]] PassiveText& text() { return *text_; }

  protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void applyTheme();

    QLabel* heading_;
    PassiveText* text_;
    QLabel* status_;
};

}  // namespace velmora

#pragma once

#include <QWidget>
#include <memory>
#include <string>

class QLabel;

namespace velmora {

class PassiveText;

/// The AI mode's page: its header, below it what it has to say. How far it has come stands at the end of the header, so
/// that what is being read keeps its place.
class AnswerView final : public QWidget {
  public:
    explicit AnswerView(QWidget* parent);

    /// What stands in place of an answer is paler than one. One line of `status`.
    void show(std::shared_ptr<const std::string> text, bool answered, const std::string& status);
    [[nodiscard]] PassiveText& text() { return *text_; }

  protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void applyTheme();

    QLabel* heading_;
    QWidget* status_;  // keeps the room of the status and tells it to those who do not see it
    PassiveText* text_;
    bool answered_ = false;
};

}  // namespace velmora

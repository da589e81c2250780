#pragma once

#include <QLineEdit>
#include <functional>
#include <string>

namespace velmora {

/// The palette's text field. Text that an input method is still composing is not part of its text, and the keys that
/// steer the palette belong to the input method while it composes.
class PaletteInput final : public QLineEdit {
  public:
    /// Takes texts of up to `longest` UTF-16 units. A longer one is refused as a whole: the field keeps what it had.
    PaletteInput(int longest, QWidget* parent);

    /// Makes the field show `text`; leaves it alone, cursor and all, when it does already.
    void show(const std::string& text, const std::string& placeholder);

    [[nodiscard]] bool composing() const { return !preedit_.isEmpty(); }

    std::function<void(std::string text)> onEdit = [](const std::string&) {};
    /// A text was refused for its length.
    std::function<void()> onRefusal = [] {};
    std::function<void()> submit = [] {};
    std::function<void()> tab = [] {};
    std::function<void(std::ptrdiff_t step)> move = [](std::ptrdiff_t) {};
    /// Asked to copy when nothing in the field is selected; true when it did.
    std::function<bool()> copy = [] { return false; };

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool focusNextPrevChild(bool) override { return false; }

  private:
    [[nodiscard]] bool belongsToTheText(const QKeyEvent& event) const;
    bool handle(QKeyEvent& event);
    void edited();
    /// What was pasted may have several lines; the field has one.
    void joinLines();
    void applyTheme();

    QString preedit_;
    QString accepted_;  // the last text that was not too long
};

}  // namespace velmora

#pragma once

#include <QWidget>
#include <functional>
#include <string>

class QLabel;

namespace velmora {

class PreviewText;

/// The text of a result, selectable, cut off where drawing it would take long.
class ResultPreviewView final : public QWidget {
  public:
    /// Draws at most `displayLimit` characters.
    ResultPreviewView(std::size_t displayLimit, QWidget* parent);

    void show(const std::string& text);
    /// Scrolls by `pages` heights of the text area.
    void scroll(int pages);
    /// Puts the selected part of the text on the clipboard; false when nothing is selected.
    [[nodiscard]] bool copySelection();

    std::function<void()> close = [] {};

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void applyTheme();

    std::size_t displayLimit_;
    std::string shown_;
    QLabel* heading_;
    PreviewText* text_;
    QLabel* footer_;
};

}  // namespace velmora

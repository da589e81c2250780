#pragma once

#include "app/ui/state/PaletteScreen.h"

#include <QWidget>
#include <functional>
#include <memory>
#include <string>

class QLabel;

namespace velmora {

class PassiveText;

/// The text of a result, selectable, cut off where drawing it would take long.
class ResultPreviewView final : public QWidget {
  public:
    /// Draws at most `displayLimit` characters.
    ResultPreviewView(std::size_t displayLimit, QWidget* parent);

    /// Without a text it is empty: what was shown can be large.
    void show(const PaletteScreen::Preview& preview);
    [[nodiscard]] PassiveText& text() { return *text_; }

    std::function<void()> close = [] {};

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void applyTheme();

    std::size_t displayLimit_;
    std::shared_ptr<const std::string> shown_;
    QLabel* heading_;
    PassiveText* text_;
    QLabel* footer_;
};

}  // namespace velmora

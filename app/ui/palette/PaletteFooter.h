#pragma once

#include "app/ui/state/PaletteScreen.h"

#include <QWidget>

namespace velmora {

/// The strip below the list: the mode at the leading end; key hints, help or an example at the trailing one.
class PaletteFooter final : public QWidget {
  public:
    explicit PaletteFooter(QWidget* parent);

    /// Of hints such as "↵ Execute   esc Close" the keys are drawn as caps, their meanings beside them.
    void show(const PaletteScreen::Footer& content);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void paintHints(QPainter& painter, QRect area) const;
    void paintHelp(QPainter& painter, QRect area) const;

    PaletteScreen::Footer content_;
};

}  // namespace velmora

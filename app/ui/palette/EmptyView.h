#pragma once

#include "app/ui/state/PaletteScreen.h"

#include <QWidget>

namespace velmora {

/// What stands in place of an empty list: a heading and a line of help below it.
class EmptyView final : public QWidget {
  public:
    explicit EmptyView(QWidget* parent);

    void show(const PaletteScreen::Nothing& content);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    PaletteScreen::Nothing content_;
};

}  // namespace velmora

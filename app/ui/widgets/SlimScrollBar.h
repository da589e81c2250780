#pragma once

#include <QScrollBar>

namespace velmora {

/// A scroll bar that is a thin rounded thumb and nothing else.
class SlimScrollBar final : public QScrollBar {
  public:
    explicit SlimScrollBar(QWidget* parent);

    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace velmora

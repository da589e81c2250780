#pragma once

#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

namespace velmora {

/// A hairline along which a highlight runs while something takes longer than a blink. Still, it costs nothing.
class BusyLine final : public QWidget {
  public:
    explicit BusyLine(QWidget* parent);

    void setBusy(bool busy);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QTimer delay_;
    QVariantAnimation position_;
};

}  // namespace velmora

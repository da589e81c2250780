#pragma once

#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

namespace velmora {

/// A hairline along which a highlight runs while something takes longer than a blink. It rests, and costs nothing, when
/// nothing does, and while the window waits behind a dialog.
class BusyLine final : public QWidget {
  public:
    explicit BusyLine(QWidget* parent);

    void setBusy(bool busy);

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void run();

    bool busy_ = false;
    bool active_ = false;
    QTimer delay_;
    QVariantAnimation position_;
};

}  // namespace velmora

#include "app/ui/palette/BusyLine.h"

#include "app/ui/widgets/Theme.h"

#include <QEvent>
#include <QPainter>
#include <chrono>
#include <utility>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto blink = 150ms;
constexpr int roundTrip = 1100;  // milliseconds
constexpr int thickness = 2;

}  // namespace

BusyLine::BusyLine(QWidget* parent) : QWidget(parent) {
    setFixedHeight(thickness);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    delay_.setSingleShot(true);
    delay_.setInterval(blink);
    connect(&delay_, &QTimer::timeout, this, [this] { position_.start(); });
    position_.setStartValue(-0.3);
    position_.setEndValue(1.0);
    position_.setDuration(roundTrip);
    position_.setLoopCount(-1);
    position_.setEasingCurve(QEasingCurve::InOutSine);
    connect(&position_, &QVariantAnimation::valueChanged, this, [this] { update(); });
}

void BusyLine::setBusy(bool busy) {
    if (std::exchange(busy_, busy) != busy) run();
}

void BusyLine::run() {
    if (busy_ && active_) {
        delay_.start();
    } else {
        delay_.stop();
        position_.stop();
        update();
    }
}

bool BusyLine::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate) {
        active_ = event->type() == QEvent::WindowActivate;
        run();
    }
    return QWidget::event(event);
}

void BusyLine::paintEvent(QPaintEvent*) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), theme.separator);
    if (position_.state() != QAbstractAnimation::Running) return;
    const double left = position_.currentValue().toDouble() * width();
    painter.fillRect(QRectF(left, 0, width() * 0.3, thickness), theme.accent);
}

}  // namespace velmora

#include "app/ui/widgets/SlimScrollBar.h"

#include "app/ui/widgets/Theme.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionSlider>

namespace velmora {
namespace {

constexpr int barWidth = 8;
constexpr int thumbWidth = 4;
constexpr int shortestThumb = 24;

}  // namespace

SlimScrollBar::SlimScrollBar(QWidget* parent) : QScrollBar(Qt::Vertical, parent) {
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setFocusPolicy(Qt::NoFocus);
}

QSize SlimScrollBar::sizeHint() const {
    return {barWidth, shortestThumb};
}

void SlimScrollBar::paintEvent(QPaintEvent*) {
    const int range = maximum() - minimum();
    if (range <= 0) return;
    const int thumb = std::max(shortestThumb, height() * pageStep() / (range + pageStep()));
    const int top = QStyle::sliderPositionFromValue(minimum(), maximum(), value(), height() - thumb);
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isSliderDown() || underMouse() ? theme.secondary : theme.border);
    painter.drawRoundedRect(QRectF((width() - thumbWidth) / 2.0, top, thumbWidth, thumb), thumbWidth / 2.0,
                            thumbWidth / 2.0);
}

}  // namespace velmora

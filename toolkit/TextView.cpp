#include "toolkit/TextView.h"

#include "toolkit/TextViewAccessible.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSignalBlocker>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <tuple>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto dragInterval = 40ms;
constexpr int wheelLines = 3;
constexpr int notch = 120;  // of a wheel, as the toolkit counts
/// Scroll bars multiply their range by their length.
constexpr std::size_t mostSteps = 100'000;

std::size_t bytesPerStep(const std::string& text) {
    return text.size() / mostSteps + 1;
}

}  // namespace

TextView::TextView(QWidget* parent) : QAbstractScrollArea(parent) {
    TextViewAccessible::install();
    setFocusPolicy(Qt::NoFocus);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // There or not, lines keep their width.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setContextMenuPolicy(Qt::NoContextMenu);
    viewport()->setAutoFillBackground(false);
    viewport()->setCursor(Qt::IBeamCursor);
    dragging_.setInterval(dragInterval);
    connect(&dragging_, &QTimer::timeout, this, [this] { dragOn(); });
}

void TextView::setText(std::shared_ptr<const std::string> text) {
    if (text == text_ || *text == *text_) return;
    text_ = std::move(text);
    top_ = {};
    anchor_ = cursor_ = 0;
    layOutAgain();
}

// Layout.

const ChunkLayout& TextView::laidOut(std::size_t chunk) {
    const auto known = layouts_.find(chunk);
    if (known != layouts_.end()) return known->second;
    const std::string_view all = *text_;
    const auto bytes = all.substr(chunk, chunks().endOf(chunk) - chunk);
    return layouts_.try_emplace(chunk, bytes, font(), viewport()->width()).first->second;
}

void TextView::layOutAgain() {
    const double height = layouts_.contains(top_.chunk) ? laidOut(top_.chunk).height() : 0;
    layouts_.clear();
    if (height > 0) top_.hidden *= laidOut(top_.chunk).height() / height;
    settle();
}

int TextView::heightAt(int width, int most) const {
    double height = 0;
    const std::string_view all = *text_;
    for (std::size_t chunk = 0; chunk < all.size() && height < most; chunk = chunks().endOf(chunk))
        height += ChunkLayout(all.substr(chunk, chunks().endOf(chunk) - chunk), font(), width).height();
    return std::min(static_cast<int>(std::ceil(height)), most);
}

TextView::Visible TextView::visibleAt(double y) {
    Visible found{top_.chunk, -top_.hidden};
    for (;;) {
        const std::size_t next = chunks().endOf(found.chunk);
        const double below = found.y + laidOut(found.chunk).height();
        if (y < below || next >= text_->size()) return found;
        found = {next, below};
    }
}

std::size_t TextView::offsetAt(const QPoint& point) {
    const Visible found = visibleAt(point.y());
    return found.chunk + laidOut(found.chunk).offsetAt(QPointF(point) - QPointF(0, found.y));
}

QRect TextView::placeOf(std::size_t offset) {
    const std::size_t chunk = chunks().startOf(offset);
    for (Visible at = visibleAt(0); at.y < viewport()->height(); at = visibleAt(at.y + laidOut(at.chunk).height())) {
        if (at.chunk == chunk) return laidOut(chunk).placeOf(offset - chunk).translated(0, at.y).toAlignedRect();
        if (chunks().endOf(at.chunk) >= text_->size()) break;
    }
    return {};
}

void TextView::paintEvent(QPaintEvent* event) {
    QPainter painter(viewport());
    const auto [from, to] = selection();
    double y = -top_.hidden;
    for (std::size_t chunk = top_.chunk; chunk < text_->size() && y <= event->rect().bottom();
         chunk = chunks().endOf(chunk)) {
        const ChunkLayout& layout = laidOut(chunk);
        const auto inside = [chunk = chunk](std::size_t offset) { return offset > chunk ? offset - chunk : 0; };
        if (y + layout.height() >= event->rect().top())
            layout.draw(painter, {0, y}, palette(), {inside(from), inside(to)});
        y += layout.height();
    }
}

void TextView::changeEvent(QEvent* event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange) layOutAgain();
}

// Scrolling.

bool TextView::scroll(const QKeyEvent& key) {
    const int page = std::max(viewport()->height() - fontMetrics().lineSpacing(), 1);
    switch (key.key()) {
        case Qt::Key_PageUp:
            moveBy(-page);
            return true;
        case Qt::Key_PageDown:
            moveBy(page);
            return true;
        case Qt::Key_Home:
            moveTo(0);
            return true;
        case Qt::Key_End:
            moveToEnd();
            return true;
        default:
            return false;
    }
}

void TextView::reveal(std::size_t offset) {
    const QRect place = placeOf(offset);
    if (!viewport()->rect().contains(place) || place.isEmpty()) moveTo(offset);
}

void TextView::moveTo(std::size_t offset) {
    top_.chunk = chunks().startOf(offset);
    top_.hidden = 0;
    if (offset > top_.chunk) top_.hidden = laidOut(top_.chunk).placeOf(offset - top_.chunk).top();
    settle();
}

void TextView::moveToEnd() {
    top_.chunk = chunks().startOf(text_->size());
    top_.hidden = laidOut(top_.chunk).height();
    settle();
}

void TextView::moveBy(double distance) {
    if (distance < 0) {
        pullUp(-distance);
    } else {
        top_.hidden += distance;
    }
    settle();
}

/// Makes room for that much more above the viewport's upper edge, as far as there is something.
void TextView::pullUp(double distance) {
    top_.hidden -= distance;
    while (top_.hidden < 0 && top_.chunk > 0) {
        top_.chunk = chunks().startOf(top_.chunk - 1);
        top_.hidden += laidOut(top_.chunk).height();
    }
    top_.hidden = std::max(top_.hidden, 0.0);
}

/// Brings the top in order, after it has been moved or what is below it has changed.
void TextView::settle() {
    if (text_->empty()) top_ = {};
    for (std::size_t next = chunks().endOf(top_.chunk); next < text_->size(); next = chunks().endOf(next)) {
        const double height = laidOut(top_.chunk).height();
        if (top_.hidden < height) break;
        top_ = {next, top_.hidden - height};
    }
    const auto end = [this] {
        const Visible last = visibleAt(viewport()->height());
        return std::pair(last, last.y + laidOut(last.chunk).height() - viewport()->height());
    };
    auto [last, below] = end();
    if (below < 0) {
        pullUp(-below);
        std::tie(last, below) = end();
    }
    const std::size_t lastEnd = chunks().endOf(last.chunk);
    layouts_.erase(layouts_.begin(), layouts_.lower_bound(top_.chunk));
    layouts_.erase(layouts_.lower_bound(lastEnd), layouts_.end());
    showPosition(last.chunk, below);
    viewport()->update();
}

/// Makes the scroll bar show which bytes are visible: up to those of the chunk `last` of which `below` is not.
void TextView::showPosition(std::size_t last, double below) {
    QScrollBar& bar = *verticalScrollBar();
    if (bar.isSliderDown()) return;
    const auto bytes = [this](std::size_t chunk, double part) {
        const auto length = static_cast<double>(chunks().endOf(chunk) - chunk);
        return static_cast<double>(chunk) + length * std::clamp(part / laidOut(chunk).height(), 0.0, 1.0);
    };
    const double from = bytes(top_.chunk, top_.hidden);
    const double to = bytes(last, laidOut(last).height() - below);
    const auto steps = [step = static_cast<double>(bytesPerStep(*text_))](double length) {
        return static_cast<int>(std::lround(length / step));
    };
    const QSignalBlocker ours(bar);
    bar.setPageStep(std::max(steps(to - from), 1));
    bar.setRange(0, steps(static_cast<double>(text_->size()) - (to - from)));
    bar.setValue(steps(from));
    bar.update();
}

void TextView::scrollContentsBy(int, int) {
    const QScrollBar& bar = *verticalScrollBar();
    if (bar.value() == bar.maximum()) return moveToEnd();
    const std::size_t offset = static_cast<std::size_t>(bar.value()) * bytesPerStep(*text_);
    top_.chunk = chunks().startOf(offset);
    const std::size_t length = chunks().endOf(top_.chunk) - top_.chunk;
    const double part =
        static_cast<double>(offset - top_.chunk) / static_cast<double>(std::max<std::size_t>(length, 1));
    top_.hidden = part * laidOut(top_.chunk).height();
    settle();
}

void TextView::wheelEvent(QWheelEvent* event) {
    const double lines = static_cast<double>(event->angleDelta().y()) / notch * wheelLines;
    const double pixels = event->hasPixelDelta() ? event->pixelDelta().y() : lines * fontMetrics().lineSpacing();
    moveBy(-pixels);
    event->accept();
}

// Selecting.

void TextView::select(std::size_t from, std::size_t to) {
    anchor_ = std::min(from, text_->size());
    cursor_ = std::min(to, text_->size());
    viewport()->update();
}

QString TextView::selectedText() const {
    const auto [from, to] = selection();
    return QString::fromUtf8(text_->data() + from, static_cast<qsizetype>(to - from));
}

bool TextView::copySelection() const {
    if (anchor_ == cursor_) return false;
    QGuiApplication::clipboard()->setText(selectedText());
    return true;
}

void TextView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    onSelecting();
    mouse_ = event->pos();
    const std::size_t offset = offsetAt(mouse_);
    select(event->modifiers().testFlag(Qt::ShiftModifier) ? anchor_ : offset, offset);
    dragging_.start();
}

void TextView::mouseMoveEvent(QMouseEvent* event) {
    if (!dragging_.isActive()) return;
    mouse_ = event->pos();
    select(anchor_, offsetAt(mouse_));
}

void TextView::dragOn() {
    const int height = viewport()->height();
    const int beyond = mouse_.y() < 0 ? mouse_.y() : std::max(mouse_.y() - height, 0);
    if (beyond == 0) return;
    moveBy(beyond);
    select(anchor_, offsetAt({mouse_.x(), std::clamp(mouse_.y(), 0, height - 1)}));
}

void TextView::mouseReleaseEvent(QMouseEvent*) {
    dragging_.stop();
    QClipboard& clipboard = *QGuiApplication::clipboard();
    if (anchor_ != cursor_ && clipboard.supportsSelection()) clipboard.setText(selectedText(), QClipboard::Selection);
}

void TextView::mouseDoubleClickEvent(QMouseEvent* event) {
    const Visible found = visibleAt(event->pos().y());
    const auto [from, to] = laidOut(found.chunk).wordAt(QPointF(event->pos()) - QPointF(0, found.y));
    select(found.chunk + from, found.chunk + to);
}

}  // namespace velmora

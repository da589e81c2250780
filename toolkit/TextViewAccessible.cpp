#include "toolkit/TextViewAccessible.h"

#include "toolkit/TextView.h"

#include <algorithm>

namespace velmora {

void TextViewAccessible::install() {
    static const bool once = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* const view = dynamic_cast<TextView*>(object);
            return view ? new TextViewAccessible(*view) : nullptr;
        });
        return true;
    }();
    Q_UNUSED(once)
}

TextViewAccessible::TextViewAccessible(TextView& view)
    : QAccessibleWidget(&view, QAccessible::EditableText), view_(view) {}

void* TextViewAccessible::interface_cast(QAccessible::InterfaceType type) {
    if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessible::State TextViewAccessible::state() const {
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    state.multiLine = true;
    state.selectableText = true;
    return state;
}

QString TextViewAccessible::text(QAccessible::Text kind) const {
    return kind == QAccessible::Value ? whole() : QAccessibleWidget::text(kind);
}

void TextViewAccessible::selection(int index, int* start, int* end) const {
    const auto [from, to] = view_.selection();
    *start = index == 0 ? unitOf(from) : 0;
    *end = index == 0 ? unitOf(to) : 0;
}

int TextViewAccessible::selectionCount() const {
    const auto [from, to] = view_.selection();
    return from == to ? 0 : 1;
}

void TextViewAccessible::removeSelection(int) {
    view_.select(0, 0);
}

void TextViewAccessible::setSelection(int, int start, int end) {
    view_.select(byteOf(start), byteOf(end));
}

int TextViewAccessible::cursorPosition() const {
    return unitOf(view_.selection().second);
}

QString TextViewAccessible::text(int start, int end) const {
    return whole().mid(start, end - start);
}

int TextViewAccessible::characterCount() const {
    return static_cast<int>(whole().size());
}

QRect TextViewAccessible::characterRect(int position) const {
    const QRect place = view_.placeOf(byteOf(position));
    return place.isNull() ? place : place.translated(view_.viewport()->mapToGlobal(QPoint()));
}

int TextViewAccessible::offsetAtPoint(const QPoint& point) const {
    return unitOf(view_.offsetAt(view_.viewport()->mapFromGlobal(point)));
}

void TextViewAccessible::scrollToSubstring(int start, int) {
    view_.reveal(byteOf(start));
}

QString TextViewAccessible::attributes(int, int* start, int* end) const {
    *start = 0;
    *end = characterCount();
    return {};
}

const QString& TextViewAccessible::whole() const {
    if (converted_ != view_.text()) {
        converted_ = view_.text();
        whole_ = QString::fromUtf8(converted_->data(), static_cast<qsizetype>(converted_->size()));
    }
    return whole_;
}

int TextViewAccessible::unitOf(std::size_t byte) const {
    return static_cast<int>(QString::fromUtf8(view_.text()->data(), static_cast<qsizetype>(byte)).size());
}

std::size_t TextViewAccessible::byteOf(int unit) const {
    const auto bytes = static_cast<std::size_t>(QStringView(whole()).left(std::max(unit, 0)).toUtf8().size());
    return std::min(bytes, view_.text()->size());
}

}  // namespace velmora

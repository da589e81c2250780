#include "app/ui/widgets/PassiveList.h"

#include "app/ui/widgets/SlimScrollBar.h"

#include <QAccessible>
#include <QMouseEvent>
#include <utility>

namespace velmora {
namespace {

void tellAssistiveTechnology(QListView& list, QAccessible::Event type) {
    if (!QAccessible::isActive() || !list.currentIndex().isValid()) return;
    QAccessibleEvent event(&list, type);
    event.setChild(list.currentIndex().row());
    QAccessible::updateAccessibility(&event);
}

}  // namespace

PassiveList::PassiveList(int margin, QWidget* parent) : QListView(parent) {
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new SlimScrollBar(this));
    // There or not, rows keep their width.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    setViewportMargins(mirrored ? 0 : margin, margin, mirrored ? margin : 0, margin);
    setMouseTracking(true);
    setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
}

void PassiveList::select(std::ptrdiff_t row) {
    const QModelIndex index = model()->index(static_cast<int>(row), 0);
    if (index.isValid() ? selectionModel()->isSelected(index) : !selectionModel()->hasSelection()) return;
    setCurrentIndex(index);
    scrollTo(index, QAbstractItemView::EnsureVisible);
}

void PassiveList::announceSelection() {
    tellAssistiveTechnology(*this, QAccessible::Focus);
}

QItemSelectionModel::SelectionFlags PassiveList::selectionCommand(const QModelIndex& index, const QEvent* event) const {
    return event ? QItemSelectionModel::NoUpdate : QListView::selectionCommand(index, event);
}

void PassiveList::mousePressEvent(QMouseEvent* event) {
    pressedBeside_ = !indexAt(event->pos()).isValid();
    pressedBeside_ ? event->ignore() : QListView::mousePressEvent(event);
}

void PassiveList::mouseMoveEvent(QMouseEvent* event) {
    pressedBeside_ ? event->ignore() : QListView::mouseMoveEvent(event);
}

void PassiveList::mouseReleaseEvent(QMouseEvent* event) {
    std::exchange(pressedBeside_, false) ? event->ignore() : QListView::mouseReleaseEvent(event);
}

void PassiveList::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QListView::currentChanged(current, previous);
    tellAssistiveTechnology(*this, QAccessible::Selection);
}

}  // namespace velmora

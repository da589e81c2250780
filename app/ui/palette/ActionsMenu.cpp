#include "app/ui/palette/ActionsMenu.h"

#include "app/ui/widgets/KeyCaps.h"
#include "app/ui/widgets/PassiveList.h"
#include "app/ui/widgets/Shadow.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStandardItemModel>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

namespace velmora {
namespace {

constexpr int menuWidth = 300;
constexpr int rowHeight = 36;
constexpr int margin = 8;
constexpr int padding = 12;
constexpr int radius = 12;
constexpr int rowRadius = 8;
constexpr Shadow shadow{radius, 16, 4};
constexpr int shortcutRole = Qt::UserRole;
constexpr int destructiveRole = Qt::UserRole + 1;

class ActionDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        return {option.rect.width(), rowHeight};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const Theme& theme = Theme::current();
        const bool selected = option.state.testFlag(QStyle::State_Selected);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        if (selected || option.state.testFlag(QStyle::State_MouseOver)) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(selected ? theme.selection : theme.hover);
            painter->drawRoundedRect(option.rect, rowRadius, rowRadius);
        }
        const bool rightToLeft = option.direction == Qt::RightToLeft;
        QRect words = option.rect.adjusted(padding, 0, -padding, 0);
        const QString shortcut = index.data(shortcutRole).toString();
        if (!shortcut.isEmpty()) {
            const int width = keyCaps::width(shortcut);
            const int left = rightToLeft ? words.left() : words.right() + 1 - width;
            keyCaps::draw(*painter, QPoint(left, words.center().y()), shortcut);
            rightToLeft ? words.setLeft(left + width + padding) : words.setRight(left - padding);
        }
        painter->setFont(Theme::font(Theme::textFont, QFont::Medium));
        painter->setPen(index.data(destructiveRole).toBool() ? theme.danger : theme.text);
        texts::draw(*painter, words, index.data().toString(), option.direction);
        painter->restore();
    }
};

}  // namespace

ActionsMenu::ActionsMenu(QWidget* parent)
    : QWidget(parent), model_(new QStandardItemModel(this)), list_(new PassiveList(margin, this)) {
    setAccessibleName(QStringLiteral("Actions"));
    list_->setAccessibleName(QStringLiteral("Actions"));
    list_->setModel(model_);
    list_->setItemDelegate(new ActionDelegate(list_));
    connect(list_, &QListView::clicked, this, [this](const QModelIndex& index) {
        const auto row = static_cast<std::size_t>(index.row());
        if (const ResultPointer shown = result_; row < shown->actions.size()) onClick(shown->actions[row]);
    });
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(shadow.margins());
    column->addWidget(list_);
    hide();
}

void ActionsMenu::show(const ResultPointer& result, std::ptrdiff_t selection) {
    if (result != result_) {
        result_ = result;
        model_->clear();
        for (const CommandAction& action : result->actions) {
            auto* const item = new QStandardItem(texts::line(action.title));
            if (action.shortcut) item->setData(texts::line(*action.shortcut), shortcutRole);
            item->setData(action.role == ActionRole::destructive, destructiveRole);
            model_->appendRow(item);
        }
    }
    const bool moved = isHidden() || list_->currentIndex().row() != selection;
    list_->select(selection);
    QWidget::show();
    raise();
    if (moved) list_->announceSelection();
}

void ActionsMenu::dismiss() {
    hide();
    result_ = nullptr;
    model_->clear();
}

void ActionsMenu::place(const QPoint& corner, int highest) {
    const int height = std::min(highest, model_->rowCount() * rowHeight + 2 * margin);
    const int left = layoutDirection() == Qt::RightToLeft ? corner.x() : corner.x() - menuWidth;
    setGeometry(QRect(left, corner.y() - height, menuWidth, height).marginsAdded(shadow.margins()));
}

void ActionsMenu::paintEvent(QPaintEvent*) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect frame = rect().marginsRemoved(shadow.margins());
    shadow.draw(painter, frame);
    painter.setPen(QPen(theme.border, 1));
    painter.setBrush(theme.background);
    painter.drawRoundedRect(QRectF(frame).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

void ActionsMenu::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

}  // namespace velmora

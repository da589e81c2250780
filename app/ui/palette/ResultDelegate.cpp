#include "app/ui/palette/ResultDelegate.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/palette/ResultListModel.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QPainter>
#include <QStyle>

namespace velmora {
namespace {

constexpr int padding = 12;
constexpr int returnSize = 16;
constexpr int lineGap = 1;

/// Of a path the ends say most, of anything else the beginning.
Qt::TextElideMode elision(const QString& subtitle) {
    return subtitle.contains(u'/') ? Qt::ElideMiddle : Qt::ElideRight;
}

}  // namespace

ResultDelegate::ResultDelegate(std::shared_ptr<ResultIcons> icons, QObject* parent)
    : QStyledItemDelegate(parent), icons_(std::move(icons)) {}

void ResultDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const Theme& theme = Theme::current();
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const QRect row = option.rect;
    const qreal ratio = painter->device()->devicePixelRatioF();
    const auto mirrored = [&](const QRect& rect) { return QStyle::visualRect(option.direction, row, rect); };

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (selected || option.state.testFlag(QStyle::State_MouseOver)) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(selected ? theme.selection : theme.hover);
        painter->drawRoundedRect(row, Theme::rowRadius, Theme::rowRadius);
    }
    const auto& result = static_cast<const ResultListModel*>(index.model())->result(index.row());
    const QRect icon(row.left() + padding, row.top() + (row.height() - Theme::iconFrame) / 2, Theme::iconFrame,
                     Theme::iconFrame);
    const QPixmap picture = icons_->pixmap(result.icon, ratio, selected ? theme.accent : theme.secondary);
    painter->drawPixmap(mirrored(icon).topLeft(), picture);

    QRect words = row.adjusted(icon.right() + 1 - row.left() + padding, 0, -padding, 0);
    if (selected) {
        const QRect mark(row.right() + 1 - padding - returnSize, row.top() + (row.height() - returnSize) / 2,
                         returnSize, returnSize);
        painter->drawPixmap(mirrored(mark).topLeft(),
                            SymbolIcons::pixmap(QStringLiteral("return"), returnSize, ratio, theme.accent));
        words.setRight(mark.left() - padding);
    }
    paintTexts(*painter, option, index, mirrored(words));
    painter->restore();
}

void ResultDelegate::paintTexts(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                                const QRect& area) const {
    const Theme& theme = Theme::current();
    const QFont titleFont = Theme::font(Theme::titleFont, QFont::Medium);
    const QFont subtitleFont = Theme::font(Theme::smallFont);
    const QFontMetrics titleMetrics(titleFont, painter.device());
    const QFontMetrics subtitleMetrics(subtitleFont, painter.device());
    const QString subtitle = index.data(ResultListModel::subtitle).toString();

    const int titleHeight = titleMetrics.height();
    const int subtitleHeight = subtitle.isEmpty() ? 0 : subtitleMetrics.height() + lineGap;
    QRect line(area.left(), area.top() + (area.height() - titleHeight - subtitleHeight) / 2, area.width(), titleHeight);
    painter.setFont(titleFont);
    painter.setPen(theme.text);
    texts::draw(painter, line, index.data(Qt::DisplayRole).toString(), option.direction);
    if (subtitle.isEmpty()) return;
    line = QRect(line.left(), line.bottom() + 1 + lineGap, line.width(), subtitleMetrics.height());
    painter.setFont(subtitleFont);
    painter.setPen(theme.secondary);
    texts::draw(painter, line, subtitle, option.direction, Qt::AlignLeft, elision(subtitle));
}

QSize ResultDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {option.rect.width(), Theme::rowHeight};
}

}  // namespace velmora

#pragma once

#include "app/ui/icons/ResultIcons.h"

#include <QFontMetrics>
#include <QStyledItemDelegate>

namespace velmora {

/// Draws a row of the result list: icon, title, subtitle, and on the selected row the mark of the Return key.
class ResultDelegate final : public QStyledItemDelegate {
  public:
    ResultDelegate(std::shared_ptr<ResultIcons> icons, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  private:
    void paintTexts(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                    const QRect& area) const;

    std::shared_ptr<ResultIcons> icons_;
};

}  // namespace velmora

#pragma once

#include "core/commands/Commands.h"

#include <QWidget>
#include <functional>

class QStandardItemModel;

namespace velmora {

class PassiveList;

/// The popover with the selected result's actions. Shows the selection it is given and reports clicks.
class ActionsMenu final : public QWidget {
  public:
    explicit ActionsMenu(QWidget* parent);

    void show(const ResultPointer& result, std::ptrdiff_t selection);

    /// As large as its actions need, and at most `highest` high, with its lower trailing corner at `corner`.
    void place(const QPoint& corner, int highest);

    std::function<void(const CommandAction& action)> onClick = [](const CommandAction&) {};

    /// Hides it and forgets what it showed.
    void dismiss();

  protected:
    void paintEvent(QPaintEvent* event) override;
    /// Clicks beside a row are the menu's own: they neither reach the list below nor drag the window.
    void mousePressEvent(QMouseEvent* event) override;

  private:
    ResultPointer result_;
    QStandardItemModel* model_;
    PassiveList* list_;
};

}  // namespace velmora

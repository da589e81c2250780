#pragma once

#include <QListView>

namespace velmora {

/// A list that shows a selection made elsewhere: it never takes the keyboard focus, the mouse only clicks, and its
/// background is whatever is behind it.
class PassiveList : public QListView {
  public:
    /// Rows keep `margin` pixels from the edges; at the trailing edge, the scroll bar keeps them away.
    PassiveList(int margin, QWidget* parent);

    /// Selects and reveals a row; one that does not exist selects nothing.
    void select(std::ptrdiff_t row);

    /// Tells assistive technology of the selected row as if it had the focus, which stays in the input field.
    void announceSelection();

  protected:
    [[nodiscard]] QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                                       const QEvent* event) const override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    // Where there is no row, the mouse is the window's.
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    bool pressedBeside_ = false;
};

}  // namespace velmora

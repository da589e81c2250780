#pragma once

#include "toolkit/ChunkLayout.h"
#include "toolkit/TextChunks.h"

#include <QAbstractScrollArea>
#include <QTimer>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace velmora {

/// A text to read, scroll with the wheel and select with the mouse, while the keyboard stays where it is. Of a text of
/// any length only what is visible is laid out, so that nothing takes long enough to be felt and no memory is taken but
/// for that; the scroll bar counts the text's bytes, for nobody knows how high the rest is.
///
/// Offsets are bytes of the text. What is selected and copied is the text as it was given.
class TextView : public QAbstractScrollArea {
  public:
    explicit TextView(QWidget* parent);

    /// Shows `text` from its beginning. Leaves everything as it is, selection and all, when it is shown already.
    void setText(std::shared_ptr<const std::string> text);
    [[nodiscard]] const std::shared_ptr<const std::string>& text() const { return text_; }

    /// Scrolls when the key is Page Up, Page Down, Home or End; false when it is another.
    [[nodiscard]] bool scroll(const QKeyEvent& key);
    /// Scrolls until what is at `offset` is visible.
    void reveal(std::size_t offset);

    void select(std::size_t from, std::size_t to);
    void selectAll() { select(0, text_->size()); }
    /// Where the selection begins and where it ends.
    [[nodiscard]] std::pair<std::size_t, std::size_t> selection() const { return std::minmax(anchor_, cursor_); }
    /// Puts the selected part of the text on the clipboard; false when nothing is selected.
    [[nodiscard]] bool copySelection() const;

    /// What is nearest to a point of the viewport.
    [[nodiscard]] std::size_t offsetAt(const QPoint& point);
    /// Where in the viewport what is at `offset` is; nowhere when it is not visible.
    [[nodiscard]] QRect placeOf(std::size_t offset);

    /// How high it would have to be at this width to show everything, but at most `most`.
    [[nodiscard]] int heightAt(int width, int most) const;

    /// The mouse begins to select.
    std::function<void()> onSelecting = [] {};

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent*) override { layOutAgain(); }
    void changeEvent(QEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

  private:
    /// What lies along the viewport's upper edge: a chunk, and how much of it is above.
    struct Top {
        std::size_t chunk = 0;
        double hidden = 0;
    };
    /// A chunk and where it begins in the viewport.
    struct Visible {
        std::size_t chunk;
        double y;
    };

    [[nodiscard]] TextChunks chunks() const { return TextChunks(*text_); }
    [[nodiscard]] const ChunkLayout& laidOut(std::size_t chunk);
    void layOutAgain();
    [[nodiscard]] Visible visibleAt(double y);
    void moveTo(std::size_t offset);
    void moveToEnd();
    void moveBy(double distance);
    void pullUp(double distance);
    void settle();
    void showPosition(std::size_t end, double below);
    [[nodiscard]] QString selectedText() const;
    void dragOn();

    std::shared_ptr<const std::string> text_ = std::make_shared<const std::string>();
    std::map<std::size_t, ChunkLayout> layouts_;  // of the visible chunks, by where they begin
    Top top_;
    std::size_t anchor_ = 0;
    std::size_t cursor_ = 0;
    QPoint mouse_;
    QTimer dragging_;
};

}  // namespace velmora

#pragma once

#include <QWidget>
#include <functional>

namespace velmora {

/// The palette's floating window: without a frame, above the others, with the keyboard focus while it is shown.
///
/// Its content is 700 × 510 logical pixels. Where windows may be translucent it has rounded corners and casts a shadow,
/// for which the window is larger than its content; elsewhere it is a plain rectangle with an edge.
class CommandPanel final : public QWidget {
  public:
    enum class Key { escape, actions, preview };

    CommandPanel();
    ~CommandPanel() override;

    void setContent(QWidget* content);

    void setComposited(bool composited);
    /// Where the content is inside the window.
    [[nodiscard]] QMargins shadowMargins() const;

    /// A key that is the window's before it is the focused widget's.
    std::function<void(Key)> onKey = [](Key) {};
    std::function<void()> onDeactivate = [] {};
    /// A dialog or a menu over it has closed, whichever way.
    std::function<void()> onChildClosed = [] {};
    /// The window manager wants it closed, or the mouse was pressed in the shadow, which is not the window.
    std::function<void()> onDismiss = [] {};

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool event(QEvent* event) override;
    void childEvent(QChildEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    [[nodiscard]] QRect contentRect() const { return rect().marginsRemoved(shadowMargins()); }
    void tracePaint();

    QWidget* content_ = nullptr;
    bool composited_ = false;
    bool tracing_ = false;
    std::optional<QPoint> dragStart_;  // in the window
};

}  // namespace velmora

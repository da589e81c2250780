#pragma once

#include <QAccessibleWidget>
#include <memory>
#include <string>

namespace velmora {

class TextView;

/// A text view as assistive technology sees it: a text of several lines that can be read and selected. It counts in
/// UTF-16 units, for which the whole text is converted once when it is first asked for.
class TextViewAccessible final : public QAccessibleWidget, public QAccessibleTextInterface {
  public:
    /// Has the toolkit use this for every text view.
    static void install();

    explicit TextViewAccessible(TextView& view);

    void* interface_cast(QAccessible::InterfaceType type) override;
    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] QString text(QAccessible::Text kind) const override;

    void selection(int index, int* start, int* end) const override;
    [[nodiscard]] int selectionCount() const override;
    void addSelection(int start, int end) override { setSelection(0, start, end); }
    void removeSelection(int index) override;
    void setSelection(int index, int start, int end) override;
    [[nodiscard]] int cursorPosition() const override;
    void setCursorPosition(int position) override { scrollToSubstring(position, position); }
    [[nodiscard]] QString text(int start, int end) const override;
    [[nodiscard]] int characterCount() const override;
    [[nodiscard]] QRect characterRect(int position) const override;
    [[nodiscard]] int offsetAtPoint(const QPoint& point) const override;
    void scrollToSubstring(int start, int end) override;
    QString attributes(int position, int* start, int* end) const override;

  private:
    [[nodiscard]] const QString& whole() const;
    [[nodiscard]] int unitOf(std::size_t byte) const;
    [[nodiscard]] std::size_t byteOf(int unit) const;

    TextView& view_;
    mutable std::shared_ptr<const std::string> converted_;
    mutable QString whole_;
};

}  // namespace velmora

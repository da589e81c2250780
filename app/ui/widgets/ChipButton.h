#pragma once

#include <QAbstractButton>

namespace velmora {

/// A small rounded button: a symbol, if it has one, and a text. It never takes the keyboard focus.
class ChipButton final : public QAbstractButton {
  public:
    ChipButton(QString symbol, const QString& text, QWidget* parent);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString symbol_;
};

}  // namespace velmora

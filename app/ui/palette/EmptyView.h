#pragma once

#include <QWidget>

namespace velmora {

/// What stands in place of an empty list: a heading and a line of help below it.
class EmptyView final : public QWidget {
  public:
    explicit EmptyView(QWidget* parent);

    void show(const QString& symbol, const QString& heading, const QString& help);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString symbol_;
    QString heading_;
    QString help_;
};

}  // namespace velmora

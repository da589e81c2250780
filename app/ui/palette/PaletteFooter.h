#pragma once

#include <QWidget>

namespace velmora {

/// The strip below the list: the mode at the leading end; key hints, help or an example at the trailing one.
class PaletteFooter final : public QWidget {
  public:
    explicit PaletteFooter(QWidget* parent);

    void setMode(const QString& symbol, const QString& title);
    /// Hints such as "↵ Execute   esc Close": the keys are drawn as caps, their meanings beside them.
    void setHints(const QString& hints);
    /// A line of help, and behind it a remark such as a count.
    void setHelp(const QString& help, const QString& remark = {});

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void describe();
    void paintHints(QPainter& painter, QRect area) const;
    void paintHelp(QPainter& painter, QRect area) const;

    QString symbol_;
    QString title_;
    QString hints_;
    QString help_;
    QString remark_;
};

}  // namespace velmora

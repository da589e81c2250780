#pragma once

#include <QWidget>

namespace velmora {

/// One line below the input: the failure of what was tried last, or what may be typed now.
class NoticeLine final : public QWidget {
    Q_OBJECT  // assistive technology knows it as an alert by its class

        public : enum class Kind {
            error,
            help
        };

    NoticeLine(Kind kind, const QString& symbol, QWidget* parent);

    /// Shows `text`, or nothing and takes no space when it is empty.
    void show(const QString& text);

    [[nodiscard]] Kind kind() const { return kind_; }
    [[nodiscard]] const QString& text() const { return text_; }

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    Kind kind_;
    QString symbol_;
    QString text_;
};

}  // namespace velmora

#include "app/ui/palette/AnswerView.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/widgets/PassiveText.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QVBoxLayout>

namespace velmora {
namespace {

constexpr int padding = 20;
constexpr int symbolSize = 20;
constexpr int gap = 10;

}  // namespace

AnswerView::AnswerView(QWidget* parent)
    : QWidget(parent),
      heading_(new QLabel(QStringLiteral("Ask AI"), this)),
      text_(new PassiveText(this)),
      status_(new QLabel(this)) {
    heading_->setFont(Theme::font(Theme::titleFont, QFont::DemiBold));
    heading_->setIndent(symbolSize + gap);
    heading_->setMinimumHeight(symbolSize + 4);
    text_->setAccessibleName(QStringLiteral("Ask AI"));
    text_->setFont(Theme::font(Theme::titleFont));
    status_->setTextFormat(Qt::PlainText);
    status_->setFont(Theme::font(Theme::smallFont));
    status_->setWordWrap(true);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(gap);
    column->addWidget(heading_);
    column->addWidget(text_, 1);
    column->addWidget(status_);
    applyTheme();
}

void AnswerView::show(const std::string& text, const std::string& status) {
    text_->show(texts::of(text));
    status_->setText(texts::line(status));
    status_->setVisible(!status.empty());
}

void AnswerView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange) applyTheme();
}

void AnswerView::paintEvent(QPaintEvent*) {
    const QRect line = heading_->geometry();
    const QRect icon(line.left(), line.center().y() - symbolSize / 2 + 1, symbolSize, symbolSize);
    QPainter(this).drawPixmap(
        QStyle::visualRect(layoutDirection(), line, icon).topLeft(),
        SymbolIcons::pixmap(QStringLiteral("sparkles"), symbolSize, devicePixelRatioF(), Theme::current().accent));
}

void AnswerView::applyTheme() {
    const Theme& theme = Theme::current();
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, theme.text);
    colours.setColor(QPalette::Text, theme.text);
    heading_->setPalette(colours);
    colours.setColor(QPalette::Text, theme.secondary);
    text_->setPalette(colours);
    colours.setColor(QPalette::WindowText, theme.secondary);
    status_->setPalette(colours);
}

}  // namespace velmora

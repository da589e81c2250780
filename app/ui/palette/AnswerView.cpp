#include "app/ui/palette/AnswerView.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/widgets/PassiveText.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QVBoxLayout>
#include <utility>

namespace velmora {
namespace {

constexpr int padding = 20;
constexpr int symbolSize = 20;
constexpr int gap = 10;

}  // namespace

AnswerView::AnswerView(QWidget* parent)
    : QWidget(parent),
      heading_(new QLabel(QStringLiteral("Ask AI"), this)),
      status_(new QWidget(this)),
      text_(new PassiveText(this)) {
    heading_->setFont(Theme::font(Theme::titleFont, QFont::DemiBold));
    heading_->setIndent(symbolSize + gap);
    heading_->setMinimumHeight(symbolSize + 4);
    text_->setAccessibleName(QStringLiteral("Ask AI"));
    text_->setFont(Theme::font(Theme::titleFont));
    auto* const header = new QHBoxLayout;
    header->setSpacing(2 * gap);
    header->addWidget(heading_);
    header->addWidget(status_, 1);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(gap);
    column->addLayout(header);
    column->addWidget(text_, 1);
    applyTheme();
}

void AnswerView::show(std::shared_ptr<const std::string> text, bool answered, const std::string& status) {
    text_->setText(std::move(text));
    if (std::exchange(answered_, answered) != answered) applyTheme();
    const QString line = texts::line(status);
    if (line == status_->accessibleName()) return;
    status_->setAccessibleName(line);
    update();
}

void AnswerView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange) applyTheme();
}

void AnswerView::paintEvent(QPaintEvent*) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    const QRect line = heading_->geometry();
    const QRect icon(line.left(), line.center().y() - symbolSize / 2 + 1, symbolSize, symbolSize);
    painter.drawPixmap(QStyle::visualRect(layoutDirection(), line, icon).topLeft(),
                       SymbolIcons::pixmap(QStringLiteral("sparkles"), symbolSize, devicePixelRatioF(), theme.accent));
    painter.setFont(Theme::font(Theme::smallFont));
    painter.setPen(theme.secondary);
    texts::draw(painter, status_->geometry(), status_->accessibleName(), layoutDirection(), Qt::AlignRight);
}

void AnswerView::applyTheme() {
    const Theme& theme = Theme::current();
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, theme.text);
    heading_->setPalette(colours);
    colours.setColor(QPalette::Text, answered_ ? theme.text : theme.secondary);
    text_->setPalette(colours);
}

}  // namespace velmora

#include "app/ui/palette/ResultPreviewView.h"

#include "app/ui/widgets/ChipButton.h"
#include "app/ui/widgets/PassiveText.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"
#include "core/text/Text.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <string_view>

namespace velmora {
namespace {

constexpr int spacing = 10;
constexpr int padding = 18;

QString footerOf(std::string_view text, std::size_t shownBytes) {
    if (shownBytes < text.size())
        return QStringLiteral("Showing the first 50,000 characters. Return copies the complete item.");
    return texts::of(text::formattedCount(text::characterCount(text))) +
           QStringLiteral(" characters · Return copies · ↑ ↓ Browse");
}

}  // namespace

ResultPreviewView::ResultPreviewView(std::size_t displayLimit, QWidget* parent)
    : QWidget(parent),
      displayLimit_(displayLimit),
      heading_(new QLabel(QStringLiteral("Text Preview"), this)),
      text_(new PassiveText(this)),
      footer_(new QLabel(this)) {
    setAccessibleName(QStringLiteral("Text Preview"));
    auto* const back = new ChipButton({}, QStringLiteral("Back · Esc"), this);
    connect(back, &QAbstractButton::clicked, this, [this] { close(); });
    heading_->setFont(Theme::font(Theme::titleFont, QFont::DemiBold));
    footer_->setTextFormat(Qt::PlainText);
    footer_->setFont(Theme::font(Theme::smallFont));

    text_->setAccessibleName(QStringLiteral("Text Preview"));
    text_->setFont(Theme::font(Theme::textFont));

    auto* const header = new QHBoxLayout;
    header->addWidget(heading_);
    header->addStretch();
    header->addWidget(back);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(spacing);
    column->addLayout(header);
    column->addWidget(text_, 1);
    column->addWidget(footer_);
    applyTheme();
}

void ResultPreviewView::show(const PaletteScreen::Preview& preview) {
    if (preview.text == shown_) return;
    shown_ = preview.text;
    const std::string_view text = shown_ ? std::string_view(*shown_) : std::string_view();
    const std::string_view drawn = text::prefix(text, displayLimit_);
    text_->show(texts::of(drawn));
    footer_->setText(preview.isWhole ? footerOf(text, drawn.size()) : QString());
}

void ResultPreviewView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange) applyTheme();
}

void ResultPreviewView::applyTheme() {
    const Theme& theme = Theme::current();
    const auto colour = [](QWidget& widget, const QColor& text) {
        QPalette palette = widget.palette();
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Text, text);
        widget.setPalette(palette);
    };
    colour(*heading_, theme.text);
    colour(*text_, theme.text);
    colour(*footer_, theme.secondary);
}

}  // namespace velmora

#include "app/ui/palette/PaletteInput.h"

#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QRegularExpression>
#include <algorithm>

namespace velmora {
namespace {

bool steersThePalette(int key) {
    switch (key) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            return true;
        default:
            return false;
    }
}

}  // namespace

PaletteInput::PaletteInput(int longest, QWidget* parent) : QLineEdit(parent) {
    setMaxLength(longest + 1);  // whatever reaches this has been cut off
    setFrame(false);
    setAttribute(Qt::WA_MacShowFocusRect, false);
    setAccessibleName(QStringLiteral("Search commands, apps or ask AI"));
    setFont(Theme::font(Theme::inputFont));
    setMinimumHeight(40);
    applyTheme();
    connect(this, &QLineEdit::textEdited, this, [this] { edited(); });
}

void PaletteInput::show(const std::string& text, const std::string& placeholder) {
    const QString hint = texts::line(placeholder);
    if (hint != placeholderText()) setPlaceholderText(hint);
    // Compared as the palette holds it: a text that has no UTF-8 form of its own would never be equal otherwise.
    if (this->text().toStdString() != text) setText(texts::of(text));
    accepted_ = this->text();
}

void PaletteInput::edited() {
    const QString now = text();
    if (now.size() == maxLength()) {
        const auto same = std::mismatch(now.cbegin(), now.cend(), accepted_.cbegin(), accepted_.cend());
        const auto position = static_cast<int>(same.first - now.cbegin());
        setText(accepted_);
        setCursorPosition(position);
        onRefusal();
        return;
    }
    joinLines();
    accepted_ = text();
    onEdit(accepted_.toStdString());
}

void PaletteInput::joinLines() {
    static const QRegularExpression lineBreaks(QStringLiteral("\\r\\n|[\\n\\r\\x{2028}\\x{2029}]"));
    QString joined = text();
    if (joined.replace(lineBreaks, QStringLiteral(" ")) == text()) return;
    const int position = cursorPosition();
    setText(joined);
    setCursorPosition(position);
}

void PaletteInput::keyPressEvent(QKeyEvent* event) {
    if ((composing() && steersThePalette(event->key())) || belongsToTheText(*event)) {
        event->ignore();
    } else if (!handle(*event)) {
        QLineEdit::keyPressEvent(event);
    }
}

/// Home and End where the field has no use for them: whoever reads below it may have one.
bool PaletteInput::belongsToTheText(const QKeyEvent& event) const {
    if (event.key() != Qt::Key_Home && event.key() != Qt::Key_End) return false;
    return (text().isEmpty() && !composing()) || event.modifiers().testFlag(Qt::ControlModifier);
}

bool PaletteInput::handle(QKeyEvent& event) {
    if (event.matches(QKeySequence::Copy) && !hasSelectedText()) return copy();
    if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return false;
    switch (event.key()) {
        case Qt::Key_Up:
            move(-1);
            return true;
        case Qt::Key_Down:
            move(+1);
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (!event.isAutoRepeat()) submit();
            return true;
        case Qt::Key_Tab:
            tab();
            return true;
        case Qt::Key_Backtab:
            return true;
        default:
            return false;
    }
}

void PaletteInput::inputMethodEvent(QInputMethodEvent* event) {
    preedit_ = event->preeditString();
    QLineEdit::inputMethodEvent(event);
}

void PaletteInput::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange) applyTheme();
    if (event->type() == QEvent::ApplicationFontChange) setFont(Theme::font(Theme::inputFont));
}

void PaletteInput::applyTheme() {
    const Theme& theme = Theme::current();
    QPalette colours = palette();
    colours.setBrush(QPalette::Base, Qt::transparent);
    colours.setColor(QPalette::Text, theme.text);
    colours.setColor(QPalette::PlaceholderText, theme.secondary);
    colours.setColor(QPalette::Highlight, theme.accent);
    colours.setColor(QPalette::HighlightedText,
                     Theme::contrast(theme.accent, Qt::white) >= 4.5 ? Qt::white : Qt::black);
    setPalette(colours);
}

}  // namespace velmora

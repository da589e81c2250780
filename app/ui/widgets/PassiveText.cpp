#include "app/ui/widgets/PassiveText.h"

#include "app/ui/widgets/SlimScrollBar.h"

#include <QMimeData>
#include <QTextBlock>
#include <QTextDocument>
#include <memory>

namespace velmora {
namespace {

/// UTF-16 units: more than fit into the window at once, and few enough to be laid out in a few milliseconds.
constexpr qsizetype pieceLength = 2000;
/// How far back a piece looks for a blank to end with.
constexpr qsizetype blankDistance = 80;
/// Blocks carry this mark when the line goes on in the next.
constexpr int goesOn = 1;

/// Where the piece that begins at `start` ends: behind the last of its lines, or inside a line that is too long.
qsizetype endOfPiece(const QString& text, qsizetype start) {
    const qsizetype most = start + pieceLength;
    if (most >= text.size()) return text.size();
    const qsizetype lineEnd = text.lastIndexOf(u'\n', most - 1);
    if (lineEnd >= start) return lineEnd + 1;
    const qsizetype blank = text.lastIndexOf(u' ', most - 1);
    if (blank >= most - blankDistance) return blank + 1;
    // What belongs to one character stays in one piece, unless there is no end to it.
    for (qsizetype end = most; end > most - blankDistance; --end) {
        const QChar next = text[end];
        if (!next.isLowSurrogate() && !next.isMark() && next != QChar(0x200D) && text[end - 1] != QChar(0x200D))
            return end;
    }
    return most - (text[most].isLowSurrogate() ? 1 : 0);
}

}  // namespace

PassiveText::PassiveText(QWidget* parent) : QPlainTextEdit(parent) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setFocusPolicy(Qt::NoFocus);
    setFrameShape(QFrame::NoFrame);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setVerticalScrollBar(new SlimScrollBar(this));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setContextMenuPolicy(Qt::NoContextMenu);
    document()->setDocumentMargin(0);
    viewport()->setAutoFillBackground(false);
    connect(&more_, &QTimer::timeout, this, [this] { append(); });
}

void PassiveText::show(const QString& text) {
    if (text == text_) return;
    text_ = text;
    shown_ = 0;
    more_.stop();
    clear();
    append();
    if (shown_ < text_.size()) more_.start(0);
}

void PassiveText::scroll(int pages) {
    QScrollBar& bar = *verticalScrollBar();
    bar.setValue(bar.value() + pages * bar.pageStep());
}

bool PassiveText::copySelection() {
    if (!textCursor().hasSelection()) return false;
    copy();
    return true;
}

void PassiveText::append() {
    const qsizetype end = endOfPiece(text_, shown_);
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(text_.mid(shown_, end - shown_));
    shown_ = end;
    if (end == text_.size()) {
        more_.stop();
    } else if (text_[end - 1] != u'\n') {
        cursor.block().setUserState(goesOn);
        cursor.insertBlock();
    }
}

QMimeData* PassiveText::createMimeDataFromSelection() const {
    const QTextCursor selected = textCursor();
    QString text;
    for (QTextBlock block = document()->findBlock(selected.selectionStart()); block.isValid(); block = block.next()) {
        const int from = std::max(0, selected.selectionStart() - block.position());
        const int to = std::min(block.length() - 1, selected.selectionEnd() - block.position());
        text += QStringView(block.text()).mid(from, to - from);
        if (selected.selectionEnd() < block.position() + block.length()) break;
        if (block.userState() != goesOn) text += u'\n';
    }
    auto mimeData = std::make_unique<QMimeData>();
    mimeData->setText(text);
    return mimeData.release();
}

}  // namespace velmora

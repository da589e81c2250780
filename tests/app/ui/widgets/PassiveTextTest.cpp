#include "app/ui/widgets/PassiveText.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

namespace velmora {
namespace {

TEST(PassiveText, ShowsAndCopiesTextsOfEveryShape) {
    const QString family = QString::fromUtf8("👨‍👩‍👧");
    const std::pair<const char*, QString> cases[] = {
        {"empty", {}},
        {"one line without a blank", QString(50'000, u'x')},
        {"line breaks alone", QString(50'000, u'\n')},
        {"lines", QString("a line of text\n").repeated(3'000) + "the last"},
        {"characters of many units", family.repeated(6'000)},
        {"an accent without an end", QString("e") + QString(10'000, QChar(0x301))},
    };
    PassiveText view(nullptr);
    for (const auto& [name, text] : cases) {
        SCOPED_TRACE(name);
        view.show("what was there before\n" + QString(20'000, u'y'));
        view.show(text);
        const qsizetype first = view.document()->characterCount();
        EXPECT_LE(first, 2'100);
        EXPECT_GE(first, std::min<qsizetype>(text.size(), 1'900)) << "something is there at once";
        const auto whole = [&, &text = text] {
            view.selectAll();
            view.copy();
            return QGuiApplication::clipboard()->text() == text;
        };
        EXPECT_TRUE(text.isEmpty() || QTest::qWaitFor(whole));
        for (QTextBlock block = view.document()->firstBlock(); block.isValid(); block = block.next())
            EXPECT_LE(block.length(), 2'100);
        EXPECT_EQ(view.verticalScrollBar()->value(), 0) << "what follows does not move what is read";
    }

    // A selection within it, over a border between pieces.
    view.show(QString("0123456789").repeated(1'000));
    ASSERT_TRUE(QTest::qWaitFor([&] { return view.document()->blockCount() == 5; }));
    QTextCursor cursor(view.document());
    cursor.setPosition(1'995);
    cursor.setPosition(2'006, QTextCursor::KeepAnchor);
    view.setTextCursor(cursor);
    view.copy();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "5678901234");
}

}  // namespace
}  // namespace velmora

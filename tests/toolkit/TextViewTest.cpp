#include "toolkit/TextView.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTest>

namespace velmora {
namespace {

std::string repeated(std::string_view part, std::size_t times) {
    std::string whole;
    for (std::size_t i = 0; i < times; ++i)
        whole += part;
    return whole;
}

/// Texts that are hard to lay out, of about `size` bytes.
std::vector<std::pair<const char*, std::string>> hardTexts(std::size_t size) {
    return {
        {"nothing", ""},
        {"a word", "word"},
        {"no blank", std::string(size, 'x')},
        {"line feeds alone", std::string(size, '\n')},
        {"lines", repeated("a line of text\r\n", size / 16) + "the last"},
        {"one line of words", repeated("word ", size / 5)},
        {"right to left", repeated("שלום עולם ", size / 19)},
        {"characters of many bytes", repeated("👨‍👩‍👧", size / 18)},
        {"accents without an end", "e" + repeated("\u0301", size / 2)},
        {"no UTF-8", repeated("\xff\x80\xe2\x82", size / 4)},
    };
}

TEST(TextChunks, AreTheSameFromEverywhereAndCutNoShortLineAndNoCharacter) {
    auto texts = hardTexts(20'000);
    texts.emplace_back("a line of the longest size between others",
                       "ab\n" + std::string(TextChunks::size - 1, 'x') + "\n" + std::string(4'000, 'y'));
    for (const auto& [name, text] : texts) {
        SCOPED_TRACE(name);
        const TextChunks chunks(text);
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = chunks.endOf(start);
            ASSERT_GT(end, start);
            ASSERT_LE(end - start, 2 * TextChunks::size + 80);
            for (std::size_t offset = start; offset < end; ++offset)
                ASSERT_EQ(chunks.startOf(offset), start) << offset;
            const std::string chunk = text.substr(start, end - start);
            EXPECT_GE(chunk.find('\n'), chunk.size() - 1);
            const bool cut = end < text.size() && chunk.back() != '\n';
            const std::size_t lineEnd = std::min(text.find('\n', end), text.size());
            EXPECT_TRUE(!cut || lineEnd - (text.rfind('\n', end - 1) + 1) > TextChunks::size);
            EXPECT_TRUE(!text.starts_with("👨‍👩‍👧") || chunk.size() % 18 == 0) << "part of a character";
            start = end;
        }
    }
}

class TextViewTest : public testing::Test {
  protected:
    TextViewTest() {
        view.resize(300, 200);
        view.show();
    }

    void setText(const std::string& text) { view.setText(std::make_shared<const std::string>(text)); }

    void press(Qt::Key key) {
        const QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        EXPECT_TRUE(view.scroll(event));
    }

    // The beginning of the first line and the end of the last, in whichever direction they read.
    [[nodiscard]] std::size_t first() { return std::min(view.offsetAt({0, 0}), view.offsetAt({view.width(), 0})); }
    [[nodiscard]] std::size_t last() {
        const int bottom = view.viewport()->height();
        return std::max(view.offsetAt({0, bottom}), view.offsetAt({view.width(), bottom}));
    }

    [[nodiscard]] QString copied() {
        return view.copySelection() ? QGuiApplication::clipboard()->text() : QStringLiteral("nothing");
    }

    TextView view{nullptr};
};

TEST_F(TextViewTest, ShowsTextsOfEveryShapeAndLengthFromOneEndToTheOther) {
    for (const auto& [name, text] : hardTexts(8'000'000)) {
        SCOPED_TRACE(name);
        setText(text);
        EXPECT_FALSE(view.grab().isNull());
        EXPECT_EQ(first(), 0U);
        press(Qt::Key_End);
        EXPECT_FALSE(view.grab().isNull());
        EXPECT_GE(last() + 8, text.size()) << "less a line feed or half a character";
        EXPECT_EQ(view.verticalScrollBar()->value(), view.verticalScrollBar()->maximum());
        const std::size_t end = first();
        press(Qt::Key_PageUp);
        EXPECT_TRUE(first() < end || end == 0);
        view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
        EXPECT_NEAR(static_cast<double>(first()), static_cast<double>(text.size()) / 2, 15'000) << "a page of it";
        view.resize(view.width() == 300 ? 500 : 300, 200);
        EXPECT_NEAR(static_cast<double>(first()), static_cast<double>(text.size()) / 2, 15'000) << "it keeps its place";
        press(Qt::Key_Home);
        EXPECT_EQ(first(), 0U);
    }
}

TEST_F(TextViewTest, LeavesNothingOutBetweenPages) {
    setText(repeated("A line that is longer than the window is wide, and then some words.\n\n", 300));
    for (const Qt::Key key : {Qt::Key_PageDown, Qt::Key_PageUp}) {
        std::size_t from = first();
        std::size_t to = last();
        std::size_t pages = 0;
        for (press(key); first() != from; press(key), ++pages) {
            EXPECT_LE(std::min(first(), from), std::max(first(), from));
            EXPECT_TRUE(key == Qt::Key_PageDown ? first() <= to : last() >= from) << pages;
            from = first();
            to = last();
        }
        EXPECT_GT(pages, 50U);
    }
    EXPECT_EQ(first(), 0U);
}

TEST_F(TextViewTest, CopiesWhatIsSelectedAsItWasGiven) {
    const std::string text = "one \u202Etwo\u200B\tthree\r\nfour 👨‍👩‍👧 five" + std::string(5'000, 'x');
    setText(text);
    EXPECT_EQ(copied(), "nothing");
    const auto placeOf = [&](std::string_view part) { return view.placeOf(text.find(part)); };
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, placeOf("our").center());
    EXPECT_EQ(copied(), "four");
    const auto edge = [&](std::string_view part) { return placeOf(part).topLeft() + QPoint(1, 4); };
    QTest::mousePress(view.viewport(), Qt::LeftButton, {}, edge("three"));
    QTest::mouseMove(view.viewport(), edge("five"));
    QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, edge("five"));
    EXPECT_EQ(copied(), QString::fromUtf8("three\r\nfour 👨‍👩‍👧 "));
    setText(std::string(text));
    EXPECT_NE(copied(), "nothing") << "the same text once more changes nothing";
    view.selectAll();
    EXPECT_EQ(copied(), QString::fromStdString(text));
    QTest::mousePress(view.viewport(), Qt::LeftButton, {}, QPoint(5, 5));
    QTest::mouseMove(view.viewport(), QPoint(5, 500));
    EXPECT_TRUE(QTest::qWaitFor([this] { return view.placeOf(0).isNull(); })) << "it scrolls to where the mouse is";
    QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, QPoint(5, 500));
}

TEST_F(TextViewTest, DrawsNothingThatDeceives) {
    const auto drawn = [this](const std::string& text) {
        setText(text);
        return view.grab().toImage();
    };
    const QImage plain = drawn("ab\uFFFDcd\uFFFDef");
    EXPECT_EQ(drawn("ab\u202Ecd\u200Bef"), plain);
    EXPECT_EQ(drawn("ab\x1b"
                    "cd\xff"
                    "ef\r\n"),
              plain);
    EXPECT_NE(drawn("abcdef"), plain);
    EXPECT_EQ(drawn("ab\rcd"), drawn("ab\r\ncd"));
}

TEST_F(TextViewTest, IsReadByAssistiveTechnology) {
    const std::string text = "Grüße 👨‍👩‍👧 an alle\n" + std::string(50'000, '\n') + "Ende";
    setText(text);
    QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&view);
    ASSERT_TRUE(accessible && accessible->textInterface());
    QAccessibleTextInterface& read = *accessible->textInterface();
    const QString whole = QString::fromStdString(text);
    EXPECT_EQ(read.text(0, read.characterCount()), whole);
    const int alle = static_cast<int>(whole.indexOf("alle"));
    read.setSelection(0, alle, alle + 4);
    EXPECT_EQ(copied(), "alle");
    EXPECT_EQ(read.offsetAtPoint(read.characterRect(alle).center() - QPoint(2, 0)), alle);
    const int end = static_cast<int>(whole.size()) - 4;
    EXPECT_TRUE(read.characterRect(end).isNull());
    read.scrollToSubstring(end, end + 4);
    EXPECT_FALSE(read.characterRect(end).isNull());
}

}  // namespace
}  // namespace velmora

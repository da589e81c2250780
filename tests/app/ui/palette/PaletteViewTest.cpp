#include "app/ui/palette/AnswerView.h"
#include "app/ui/palette/NoticeLine.h"
#include "app/ui/palette/ResultList.h"
#include "app/ui/widgets/PassiveText.h"
#include "tests/app/ui/palette/PaletteFixture.h"

#include <QAccessible>
#include <QClipboard>

namespace velmora {
namespace {

class PaletteViewTest : public test::PaletteFixture {};

TEST_F(PaletteViewTest, ReadsTheIconsOfCommandsAheadAndThoseOfFilesWhenTheyShow) {
    for (int i = 0; i < 80; ++i)
        add("file " + std::to_string(i),
            [i](CommandResult& result) { result.icon = CommandIcon::file("/a/" + std::to_string(i)); });
    const auto look = [this] {
        panel().grab();
        loop.settle();
        return icons->asked.size();
    };
    show();
    EXPECT_EQ(look(), 80U) << "of rows that are not listed, too";
    state->setQuery("file");
    press(Qt::Key_Up);
    EXPECT_EQ(look(), 80U) << "what was found once is kept, missing icons too";

    const auto files = std::make_shared<test::FakeSource>();
    files->count = 60;
    services->fileSearch = files;
    state->enter(PaletteState::Mode::files);
    loop.settle();
    clock.advance(std::chrono::milliseconds(60));
    loop.settle();
    const std::size_t visible = look() - 80;
    EXPECT_TRUE(visible >= 7 && visible <= 10) << visible;
    press(Qt::Key_Up);
    EXPECT_GT(look(), 80 + visible) << "the selection is scrolled to";
}

TEST_F(PaletteViewTest, AnswersAreReadAndCopiedWhileTheKeyboardStaysInTheInput) {
    show();
    Agent talkative;
    talkative.name = "no\u00A0break\r\n" + std::string(200, '\n');
    state->enter(PaletteState::Mode::ai, talkative);
    PassiveText& text = view<AnswerView>().text();
    const auto first = [&text] { return text.offsetAt({0, 0}); };
    const auto copied = [this] {
        QGuiApplication::clipboard()->setText("what was there");
        press(Qt::Key_C, Qt::ControlModifier);
        return QGuiApplication::clipboard()->text();
    };
    const std::tuple<int, Qt::KeyboardModifiers, std::size_t, std::size_t> moves[] = {
        {Qt::Key_PageDown, {}, 20, 120},
        {Qt::Key_End, {}, 150, 300},
        {Qt::Key_PageUp, {}, 100, 220},
        {Qt::Key_Home, {}, 0, 0},
        {Qt::Key_End, Qt::ControlModifier, 150, 300},
        {Qt::Key_Home, Qt::ControlModifier, 0, 0},
    };
    for (const auto& [key, modifiers, atLeast, atMost] : moves) {
        press(key, modifiers);
        EXPECT_TRUE(first() >= atLeast && first() <= atMost) << first();
    }
    EXPECT_EQ(copied(), "what was there");
    type("xy");
    EXPECT_EQ(state->query(), "xy");
    press(Qt::Key_Home);
    EXPECT_EQ(input().cursorPosition(), 0) << "in a text, these keys are the input's";
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(copied(), "xy");
    const QPoint word = text.placeOf(1).center();
    QTest::mouseClick(text.viewport(), Qt::LeftButton, {}, word);
    QTest::mouseDClick(text.viewport(), Qt::LeftButton, {}, word);
    EXPECT_TRUE(input().hasFocus());
    press(Qt::Key_PageDown);
    const std::size_t place = first();
    state->showError("anything that draws the palette again");
    view<AnswerView>().show(text.text(), true, "Thinking…");
    EXPECT_EQ(copied(), "Enter") << "what was selected last";
    EXPECT_EQ(first(), place);
}

TEST_F(PaletteViewTest, SaysWhichRowIsSelectedAndThatAnErrorIsAnAlert) {
    add("a row");
    show();
    state->setQuery("a row");
    state->showError("It failed.");
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(&view<ResultList>())->child(0)->state().selected);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&view<NoticeLine>())->role(), QAccessible::AlertMessage);
}

TEST_F(PaletteViewTest, TextsOfStrangersAreDrawnAsTheyAre) {
    add("hostile", [](CommandResult& result) {
        result.title = "hostile <b>bold</b>\n\n" + std::string(2'000'000, 'w') + "\xff\xfe";
        result.subtitle = std::string(100'000, '\n') + "مرحبا";
        result.actions[0].title = result.title;
        result.actions[0].shortcut = std::string(5000, 'K');
    });
    show();
    state->setQuery("hostile");
    state->toggleActions();
    state->showError(std::string(1'000'000, 'e'));
    EXPECT_FALSE(panel().grab().isNull());
    const auto& model = *view<ResultList>().model();
    EXPECT_TRUE(model.index(0, 0).data().toString().startsWith("hostile <b>bold</b> www"));
}

}  // namespace
}  // namespace velmora

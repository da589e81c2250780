#include "app/ui/palette/AnswerView.h"
#include "app/ui/palette/NoticeLine.h"
#include "app/ui/palette/ResultList.h"
#include "app/ui/widgets/ChipButton.h"
#include "tests/app/ui/palette/PaletteFixture.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollBar>

namespace velmora {
namespace {

using test::PaletteFixture;

class PaletteViewTest : public PaletteFixture {
  protected:
    [[nodiscard]] ChipButton* chip(const QString& text) const {
        for (auto* const button : panel().findChildren<ChipButton*>())
            if (button->text() == text) return button;
        return nullptr;
    }
};

TEST_F(PaletteViewTest, OffersTheFolderOfTheFilesMode) {
    show();
    state->enter(PaletteState::Mode::files);
    folderPanel.choice = "/home/somebody/Pictures";
    QTest::mouseClick(chip("All Folders"), Qt::LeftButton);
    loop.settle();
    ASSERT_TRUE(chip("Pictures"));
    QTest::mouseClick(chip("Pictures"), Qt::LeftButton);
    auto* const popup = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(popup);
    windowManager.activated.clear();
    popup->actions().front()->trigger();
    popup->close();
    EXPECT_EQ(state->fileDirectory(), std::nullopt);
    EXPECT_EQ(windowManager.activated, std::vector<WindowManager::Window>{panel().winId()})
        << "the menu gives the keyboard back";
    QTest::mouseClick(chip("esc Back"), Qt::LeftButton);
    EXPECT_FALSE(chip("All Folders")->isVisible());
}

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
    auto& text = *view<AnswerView>().findChild<QPlainTextEdit*>();
    const QPoint start = text.cursorRect(QTextCursor(text.document())).center();
    QTest::mouseDClick(text.viewport(), Qt::LeftButton, {}, start);
    press(Qt::Key_PageDown);
    const int scrolled = text.verticalScrollBar()->value();
    EXPECT_GT(scrolled, 0);
    state->showError("anything that draws the palette again");
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "Enter");
    EXPECT_EQ(text.verticalScrollBar()->value(), scrolled);
    press(Qt::Key_PageUp);
    EXPECT_LT(text.verticalScrollBar()->value(), scrolled);
    type("x");
    EXPECT_EQ(state->query(), "x");
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

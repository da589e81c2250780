#include "app/ui/palette/AnswerView.h"
#include "app/ui/palette/NoticeLine.h"
#include "app/ui/palette/ResultList.h"
#include "app/ui/palette/ResultPreviewView.h"
#include "app/ui/widgets/ChipButton.h"
#include "core/text/Text.h"
#include "tests/app/ui/palette/PaletteFixture.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
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
    /// Finds sixty files.
    class Files final : public ResultSource {
      public:
        [[nodiscard]] Task<std::vector<ResultPointer>> search(std::string, std::optional<std::string>) override {
            std::vector<ResultPointer> found;
            for (int i = 0; i < 60; ++i) {
                CommandResult file;
                file.icon = CommandIcon::file("/file/" + std::to_string(i));
                found.push_back(std::make_shared<const CommandResult>(std::move(file)));
            }
            co_return found;
        }
    };
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

    services->fileSearch = std::make_shared<Files>();
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

TEST_F(PaletteViewTest, PreviewsTextUpToItsLimit) {
    struct Case {
        std::size_t characters;
        int shown;
        QString footer;
    };
    const QString rest = " characters · Return copies · ↑ ↓ Browse";
    const QString cut = "Showing the first 50,000 characters. Return copies the complete item.";
    for (const Case& one :
         {Case{12, 12, "12" + rest}, Case{50'000, 50'000, QString::fromStdString(text::formattedCount(50'000)) + rest},
          Case{50'001, 50'000, cut}, Case{60'000, 50'000, cut}}) {
        ResultPreviewView preview(50'000, nullptr);
        std::string text;
        for (std::size_t i = 0; i < one.characters; ++i)
            text += "é";
        preview.show(text);
        auto& drawn = *preview.findChild<QPlainTextEdit*>();
        const auto isWhole = [&] {  // the rest comes little by little
            drawn.selectAll();
            drawn.copy();
            return QGuiApplication::clipboard()->text().size() == one.shown;
        };
        EXPECT_TRUE(QTest::qWaitFor(isWhole)) << one.characters;
        EXPECT_EQ(preview.findChildren<QLabel*>().last()->text(), one.footer);
    }
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

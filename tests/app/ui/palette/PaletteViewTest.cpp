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
#include <QPlainTextEdit>

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

/// Finds as many files as it is told to.
class ManyFiles final : public ResultSource {
  public:
    [[nodiscard]] Task<std::vector<ResultPointer>> search(std::string, std::optional<std::string>) override {
        std::vector<ResultPointer> found;
        for (std::size_t i = 0; i < count; ++i) {
            CommandResult file;
            file.id = "/file/" + std::to_string(i);
            file.title = std::to_string(i);
            file.icon = CommandIcon::file(file.id);
            found.push_back(std::make_shared<const CommandResult>(std::move(file)));
        }
        co_return found;
    }

    std::size_t count = 0;
};

TEST_F(PaletteViewTest, CountsFilesAndOffersFolders) {
    const auto files = std::make_shared<ManyFiles>();
    services->fileSearch = files;
    show();
    state->enter(PaletteState::Mode::files);
    for (const auto& [count, expected] : std::map<std::size_t, QString>{
             {0, "0 results"}, {1, "1 results"}, {99, "99 results"}, {100, "First 100"}, {101, "101 results"}}) {
        files->count = count;
        state->search();
        state->setQuery("q" + std::to_string(count));
        loop.settle();
        clock.advance(std::chrono::milliseconds(60));
        loop.settle();
        EXPECT_TRUE(view<PaletteFooter>().accessibleDescription().endsWith("sort:size " + expected))
            << view<PaletteFooter>().accessibleDescription().toStdString();
    }
    ASSERT_TRUE(chip("All Folders"));
    QTest::mouseClick(chip("All Folders"), Qt::LeftButton);
    EXPECT_EQ(chosen, 1);
    state->setFileDirectory("/home/somebody/Pictures");
    EXPECT_TRUE(chip("Pictures"));
    QTest::mouseClick(chip("esc Back"), Qt::LeftButton);
    EXPECT_EQ(state->mode(), PaletteState::Mode::commands);
    EXPECT_FALSE(chip("Pictures")->isVisible());
}

TEST_F(PaletteViewTest, ReadsTheIconsOfCommandsAheadAndOnce) {
    for (int i = 0; i < 80; ++i)
        add("file " + std::to_string(i),
            [i](CommandResult& result) { result.icon = CommandIcon::file("/a/" + std::to_string(i)); });
    show();
    loop.settle();
    EXPECT_EQ(icons->asked.size(), 80U) << "of rows that are not listed, too";
    state->setQuery("file");
    panel().grab();
    press(Qt::Key_Up);
    panel().grab();
    loop.settle();
    EXPECT_EQ(icons->asked.size(), 80U) << "what was found once is kept, missing icons too";
}

TEST_F(PaletteViewTest, ReadsTheIconsOfVisibleFilesOnly) {
    const auto files = std::make_shared<ManyFiles>();
    files->count = 60;
    services->fileSearch = files;
    show();
    state->enter(PaletteState::Mode::files);
    state->setQuery("q");
    loop.settle();
    clock.advance(std::chrono::milliseconds(60));
    loop.settle();
    panel().grab();
    loop.settle();
    EXPECT_GE(icons->asked.size(), 7U);
    EXPECT_LE(icons->asked.size(), 10U);
    const std::size_t before = icons->asked.size();
    press(Qt::Key_Up);
    panel().grab();
    loop.settle();
    EXPECT_GT(icons->asked.size(), before) << "the selection is scrolled to";
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

TEST_F(PaletteViewTest, ThePreviewFollowsTheSelectionAndReturnStillRuns) {
    add("p one", [](CommandResult& result) { result.previewText = "first"; });
    add("p two", [](CommandResult& result) { result.previewText = "second"; });
    show();
    type("p ");
    press(Qt::Key_Y, Qt::ControlModifier);
    const auto& text = *view<ResultPreviewView>().findChild<QPlainTextEdit*>();
    EXPECT_TRUE(text.isVisible());
    EXPECT_EQ(text.toPlainText(), "first");
    press(Qt::Key_Down);
    EXPECT_EQ(text.toPlainText(), "second");
    press(Qt::Key_Return);
    EXPECT_EQ(runs, 1);
    QTest::mouseClick(chip("Back · Esc"), Qt::LeftButton);
    EXPECT_FALSE(state->showsPreview());
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

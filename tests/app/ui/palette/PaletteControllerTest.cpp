#include "app/ui/widgets/Theme.h"
#include "tests/app/ui/palette/PaletteFixture.h"

#include <QDialog>
#include <QScreen>

namespace velmora {
namespace {

using test::PaletteFixture;

class PaletteControllerTest : public PaletteFixture {};

TEST_F(PaletteControllerTest, OpensAfreshOnTheScreenUnderTheMouse) {
    struct Case {
        QPoint mouse;
        bool translucent;
        QPoint expected;  // of the content
    };
    const std::vector<Case> cases{
        {{100, 100}, false, {290, 145 - 64}},
        {{2000, 500}, false, {1280 + 610, 285 - 86}},
        {{2000, 500}, true, {1280 + 610, 285 - 86}},
        {{100, 799}, true, {290, 145 - 64}},
    };
    for (const Case& one : cases) {
        QCursor::setPos(one.mouse);
        windowManager.translucent = one.translucent;
        show();
        const QRect content = panel().geometry().marginsRemoved(panel().shadowMargins());
        EXPECT_EQ(content, QRect(one.expected, QSize(700, 510)));
        EXPECT_EQ(windowManager.edges.bottom > 0, one.translucent);
        state->enter(PaletteState::Mode::files);
        controller->toggle();
        EXPECT_FALSE(panel().isVisible());
        show();
        EXPECT_EQ(state->mode(), PaletteState::Mode::commands);
        EXPECT_TRUE(state->query().empty());
        EXPECT_TRUE(input().hasFocus());
        controller->toggle();
    }
}

TEST_F(PaletteControllerTest, HidesWhenItLosesTheFocusButNotToItsOwnDialog) {
    show();
    type("abc");
    const auto close = {+[](QDialog& dialog) { dialog.accept(); }, +[](QDialog& dialog) { dialog.reject(); },
                        +[](QDialog& dialog) { dialog.close(); }, +[](QDialog& dialog) { dialog.setParent(nullptr); }};
    for (const auto& way : close) {
        QDialog dialog(&panel());
        dialog.open();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
        windowManager.activated.clear();
        controller->toggle();
        EXPECT_EQ(windowManager.activated, std::vector<WindowManager::Window>{dialog.winId()})
            << "the question is brought forward";
        QTest::keyClick(panel().windowHandle(), Qt::Key_Escape);
        EXPECT_TRUE(controller->visible()) << "keys do not reach the palette behind a dialog";
        way(dialog);
        EXPECT_EQ(windowManager.activated.back(), panel().winId()) << "it gets the keyboard back";
        ASSERT_TRUE(QTest::qWaitForWindowActive(&panel()));
    }
    controller->show();
    EXPECT_EQ(state->query(), "abc") << "it is shown already";
    elsewhere.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&elsewhere));
    EXPECT_FALSE(controller->visible());
    QTest::keyClick(&elsewhere, Qt::Key_K, Qt::ControlModifier);
    EXPECT_FALSE(state->showsActions());
}

TEST_F(PaletteControllerTest, ADialogOfAnotherWindowIsNoneOfItsBusiness) {
    show();
    QDialog foreign(&elsewhere);
    foreign.setWindowModality(Qt::WindowModal);
    foreign.show();
    foreign.activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !controller->visible(); })) << "it hides to that as to any window";
    controller->show();
    press(Qt::Key_Escape);
    EXPECT_FALSE(controller->visible()) << "its keys are its own";
    foreign.hide();
    foreign.setWindowModality(Qt::ApplicationModal);
    foreign.show();
    windowManager.activated.clear();
    controller->show();
    EXPECT_EQ(windowManager.activated, std::vector<WindowManager::Window>{foreign.winId()})
        << "nothing can be done beside this one";
}

TEST_F(PaletteControllerTest, ClickingIntoTheShadowDismissesAndTheBackgroundDrags) {
    windowManager.translucent = true;
    show();
    const QPoint start = panel().pos();
    const QRect content = panel().rect().marginsRemoved(panel().shadowMargins());
    // The edge, the footer, and the list where it has no rows.
    state->setQuery("1+1");
    for (const QPoint from :
         {content.topLeft() + QPoint(4, 4), content.bottomLeft() + QPoint(30, -10), content.center()}) {
        panel().move(start);
        QTest::mousePress(panel().windowHandle(), Qt::LeftButton, {}, from);
        QTest::mouseMove(panel().windowHandle(), from + QPoint(50, 30));
        QTest::mouseRelease(panel().windowHandle(), Qt::LeftButton, {}, from);
        EXPECT_EQ(panel().pos(), start + QPoint(50, 30)) << from.x() << ", " << from.y();
    }
    QTest::mouseClick(&panel(), Qt::LeftButton, {}, QPoint(2, 2));
    EXPECT_FALSE(controller->visible());
}

TEST(ThemeTest, SecondaryTextAndAccentStandOutInEveryPalette) {
    struct Case {
        const char* name;
        QColor window;
        QColor text;
        QColor highlight;
    };
    for (const Case& one :
         {Case{"light", "#efefef", "#000000", "#308cc6"}, Case{"soft", "#f6f5f4", "#2e3436", "#3584e4"},
          Case{"dark", "#2a2e32", "#fcfcfc", "#3daee9"}, Case{"faint", "#fafafa", "#5c616c", "#dde8ff"},
          Case{"grey", "#ffffff", "#000000", "#808080"}, Case{"contrast", "#000000", "#ffffff", "#1a0033"}}) {
        QPalette palette(one.text, one.window, one.window.lighter(), one.window.darker(), one.window, one.text,
                         Qt::white, one.window, one.window);
        palette.setColor(QPalette::Highlight, one.highlight);
        const Theme theme = Theme::of(palette);
        EXPECT_GE(Theme::contrast(theme.secondary, theme.background), 4.5) << one.name;
        EXPECT_GE(Theme::contrast(theme.secondary, theme.selection), 4.5) << one.name;
        EXPECT_GE(Theme::contrast(theme.danger, theme.dangerFill), 4.5) << one.name;
        EXPECT_GE(Theme::contrast(theme.accent, theme.background), 3.0) << one.name;
        EXPECT_EQ(theme.dark, one.window.lightness() < one.text.lightness()) << one.name;
    }
}

}  // namespace
}  // namespace velmora

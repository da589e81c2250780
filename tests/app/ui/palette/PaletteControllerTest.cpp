#include "app/ui/widgets/Theme.h"
#include "tests/app/ui/palette/PaletteFixture.h"

#include <QDialog>
#include <QScreen>

namespace velmora {
namespace {

class PaletteControllerTest : public test::PaletteFixture {};

TEST_F(PaletteControllerTest, OpensAfreshOnTheScreenUnderTheMouse) {
    const std::tuple<QPoint, bool, QPoint> cases[] = {
        {{2000, 500}, true, {1280 + 610, 285 - 86}},
        {{100, 799}, false, {290, 145 - 64}},
    };
    for (const auto& [mouse, translucent, expected] : cases) {
        QCursor::setPos(mouse);
        windowManager.translucent = translucent;
        show();
        const QRect content = panel().geometry().marginsRemoved(panel().shadowMargins());
        EXPECT_EQ(content, QRect(expected, QSize(700, 510)));
        EXPECT_EQ(windowManager.edges.bottom > 0, translucent);
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
    const std::tuple<const char*, QColor, QColor, QColor> cases[] = {
        {"light", "#efefef", "#000000", "#308cc6"},
        {"dark", "#2a2e32", "#fcfcfc", "#3daee9"},
        {"faint", "#fafafa", "#5c616c", "#dde8ff"},
        {"contrast", "#000000", "#ffffff", "#1a0033"},
    };
    for (const auto& [name, window, text, highlight] : cases) {
        QPalette palette(text, window, window.lighter(), window.darker(), window, text, Qt::white, window, window);
        palette.setColor(QPalette::Highlight, highlight);
        const Theme theme = Theme::of(palette);
        EXPECT_GE(Theme::contrast(theme.secondary, theme.background), 4.5) << name;
        EXPECT_GE(Theme::contrast(theme.secondary, theme.selection), 4.5) << name;
        EXPECT_GE(Theme::contrast(theme.danger, theme.dangerFill), 4.5) << name;
        EXPECT_GE(Theme::contrast(theme.accent, theme.background), 3.0) << name;
        EXPECT_EQ(theme.dark, window.lightness() < text.lightness()) << name;
    }
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

}  // namespace
}  // namespace velmora

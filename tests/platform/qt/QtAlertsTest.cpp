#include "platform/qt/QtAlerts.h"

#include "platform/qt/QtMainExecutor.h"
#include "tests/fakes/FakeWindowManager.h"
#include "toolkit/TextView.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QPushButton>
#include <QTest>

namespace velmora {
namespace {

using namespace std::chrono_literals;

class QtAlertsTest : public testing::Test {
  protected:
    /// A question whose answer, or "cancelled", is added to `answers` under its title.
    TaskHandle ask(const std::string& title, const std::string& detail = "detail") {
        return spawn(main.executor(), [this, title, detail]() -> Task<> {
            std::string answer = "cancelled";
            try {
                Confirmation confirmation{title, detail, ""};
                const bool allowed = co_await alerts->confirm(std::move(confirmation));
                answer = allowed ? "allowed" : "refused";
            } catch (const Cancelled&) {  // the answer says so
            }
            answers.push_back(title + " " + answer);
        });
    }

    [[nodiscard]] static AlertDialog* dialog() {
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            auto* const found = dynamic_cast<AlertDialog*>(window);
            if (found && found->isVisible()) return found;
        }
        return nullptr;
    }

    [[nodiscard]] static QPushButton* button(const QString& text) {
        for (auto* const found : dialog()->findChildren<QPushButton*>())
            if (found->text() == text) return found;
        return nullptr;
    }

    AlertDialog& waitForDialog(const QString& title) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return dialog() && dialog()->accessibleName() == title; }));
        EXPECT_TRUE(QTest::qWaitForWindowActive(dialog()));
        EXPECT_TRUE(!waits || QTest::qWaitFor([] { return button("Allow")->isEnabled(); }));
        return *dialog();
    }

    void expectAnswers(const std::vector<std::string>& expected) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return answers.size() >= expected.size(); }));
        EXPECT_EQ(answers, expected);
        answers.clear();
    }

    test::FakeWindowManager windowManager;
    QtMainExecutor main;
    std::unique_ptr<QtAlerts> alerts = std::make_unique<QtAlerts>(windowManager, 0ms);
    std::vector<std::string> answers;
    bool waits = true;  // until the question can be allowed
};

TEST_F(QtAlertsTest, OnlyAllowAllows) {
    struct Case {
        const char* name;
        std::function<void(AlertDialog&)> answer;
        std::string expected;
    };
    const auto key = [](Qt::Key pressed) {
        return [pressed](AlertDialog& shown) { QTest::keyClick(shown.windowHandle(), pressed); };
    };
    const std::vector<Case> cases{
        {"Return", key(Qt::Key_Return), "q refused"},
        {"Escape", key(Qt::Key_Escape), "q refused"},
        {"Space", key(Qt::Key_Space), "q refused"},
        {"close", [](AlertDialog& shown) { shown.close(); }, "q refused"},
        {"Cancel", [](AlertDialog&) { button("Cancel")->click(); }, "q refused"},
        {"Allow", [](AlertDialog&) { button("Allow")->click(); }, "q allowed"},
        {"Tab and Return",
         [](AlertDialog& shown) {
             QTest::keyClick(shown.windowHandle(), Qt::Key_Tab);
             QTest::keyClick(shown.windowHandle(), Qt::Key_Return);
         },
         "q refused"},
        {"Tab and Space",
         [](AlertDialog& shown) {
             QTest::keyClick(shown.windowHandle(), Qt::Key_Tab);
             QTest::keyClick(shown.windowHandle(), Qt::Key_Space);
         },
         "q allowed"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        ask("q");
        AlertDialog& shown = waitForDialog("q");
        one.answer(shown);
        expectAnswers({one.expected});
        EXPECT_TRUE(QTest::qWaitFor([] { return dialog() == nullptr; }));
    }
}

TEST_F(QtAlertsTest, AsksOneQuestionAtATime) {
    ask("first");
    const TaskHandle second = ask("second");
    const TaskHandle third = ask("third");
    waitForDialog("first");
    second.cancel();
    expectAnswers({"second cancelled"});
    waitForDialog("first");
    button("Allow")->click();
    waitForDialog("third");
    third.cancel();
    expectAnswers({"first allowed", "third cancelled"});
    EXPECT_TRUE(QTest::qWaitFor([] { return dialog() == nullptr; }));
}

TEST_F(QtAlertsTest, EndsWithTheWindowItIsASheetOf) {
    auto window = std::make_unique<QWidget>();
    window->show();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == window.get(); }));
    ask("sheet");
    ask("later");
    EXPECT_EQ(waitForDialog("sheet").parentWidget(), window.get());
    EXPECT_EQ(dialog()->windowModality(), Qt::WindowModal);
    window.reset();
    waitForDialog("later");
    EXPECT_EQ(dialog()->windowModality(), Qt::ApplicationModal);
    alerts.reset();
    expectAnswers({"sheet refused", "later refused"});
    EXPECT_EQ(dialog(), nullptr);
}

TEST_F(QtAlertsTest, TakesNoHasteForAnAnswer) {
    alerts = std::make_unique<QtAlerts>(windowManager, 1h);
    waits = false;
    ask("q");
    AlertDialog& shown = waitForDialog("q");
    const auto send = [&](QEvent::Type type, Qt::Key key, Qt::KeyboardModifiers modifiers, bool repeated) {
        QKeyEvent event(type, key, modifiers, {}, repeated);
        QApplication::sendEvent(shown.focusWidget(), &event);
    };
    // What was typed for the palette, and what is still held down.
    for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Space, Qt::Key_Return, Qt::Key_Escape}) {
        for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
            send(type, key, {}, true);
    }
    QTest::keyClick(shown.windowHandle(), Qt::Key_Tab);
    QTest::keyRelease(shown.windowHandle(), Qt::Key_Space);
    QTest::keyClick(shown.windowHandle(), Qt::Key_A, Qt::AltModifier);
    QTest::mouseClick(button("Allow"), Qt::LeftButton);
    button("Allow")->click();
    EXPECT_EQ(shown.focusWidget(), button("Cancel"));
    EXPECT_EQ(dialog(), &shown);
    QTest::keyClick(shown.windowHandle(), Qt::Key_Return);
    expectAnswers({"q refused"});
}

TEST_F(QtAlertsTest, CanBeAllowedOnlyWhileItIsInFront) {
    ask("q");
    waitForDialog("q");
    QTest::keyClick(dialog()->windowHandle(), Qt::Key_Tab);
    EXPECT_TRUE(button("Allow")->hasFocus());
    QWidget elsewhere;
    elsewhere.show();
    elsewhere.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&elsewhere));
    EXPECT_FALSE(button("Allow")->isEnabled());
    dialog()->activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([] { return button("Allow")->isEnabled(); }));
    EXPECT_TRUE(button("Cancel")->hasFocus());
    dialog()->close();
    expectAnswers({"q refused"});
}

TEST_F(QtAlertsTest, ShowsEverythingOfHostileTextsAndKeepsTheButtonsInReach) {
    const std::string flood = std::string(50'000, 'x') + std::string(50'000, '\n');
    ask("<b>bold</b> " + flood, "<h1>big</h1>\n\u202Efdp.exe\u200B\r\n" + flood + "end");
    const std::string title = "<b>bold</b> " + flood;
    AlertDialog& shown = waitForDialog(QString::fromStdString(title));
    EXPECT_LT(shown.height(), 600);
    EXPECT_LT(shown.width(), 600);
    const QString expected =
        QString::fromUtf8("<h1>big</h1>\n‹U+202E›fdp.exe‹U+200B›‹U+000D›\n") + QString::fromStdString(flood + "end");
    EXPECT_EQ(shown.accessibleDescription(), expected);
    QTest::keyClick(shown.windowHandle(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(shown.windowHandle(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), expected);
    TextView& detail = *dynamic_cast<TextView*>(shown.findChildren<QAbstractScrollArea*>().last());
    EXPECT_TRUE(detail.placeOf(expected.toUtf8().size() - 1).isNull());
    QTest::keyClick(shown.windowHandle(), Qt::Key_End);
    EXPECT_TRUE(detail.viewport()->rect().contains(detail.placeOf(expected.toUtf8().size() - 1)));
    shown.close();
    expectAnswers({title + " refused"});
}

}  // namespace
}  // namespace velmora

#include "platform/qt/QtAlerts.h"

#include "platform/qt/QtMainExecutor.h"
#include "tests/fakes/FakeWindowManager.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace velmora {
namespace {

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

    static AlertDialog& waitForDialog(const QString& title) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return dialog() && dialog()->accessibleName() == title; }));
        EXPECT_TRUE(QTest::qWaitForWindowActive(dialog()));
        return *dialog();
    }

    void expectAnswers(const std::vector<std::string>& expected) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return answers.size() >= expected.size(); }));
        EXPECT_EQ(answers, expected);
        answers.clear();
    }

    test::FakeWindowManager windowManager;
    QtMainExecutor main;
    std::unique_ptr<QtAlerts> alerts = std::make_unique<QtAlerts>(windowManager);
    std::vector<std::string> answers;
};

TEST_F(QtAlertsTest, OnlyAllowAllows) {
    struct Case {
        const char* name;
        std::function<void(AlertDialog&)> answer;
        std::string expected;
    };
    const auto button = [](AlertDialog& shown, int index) { return shown.findChildren<QPushButton*>().at(index); };
    const auto key = [](Qt::Key pressed) {
        return [pressed](AlertDialog& shown) { QTest::keyClick(shown.windowHandle(), pressed); };
    };
    const std::vector<Case> cases{
        {"Return", key(Qt::Key_Return), "q refused"},
        {"Escape", key(Qt::Key_Escape), "q refused"},
        {"Space", key(Qt::Key_Space), "q refused"},
        {"close", [](AlertDialog& shown) { shown.close(); }, "q refused"},
        {"Cancel", [&](AlertDialog& shown) { button(shown, 0)->click(); }, "q refused"},
        {"Allow", [&](AlertDialog& shown) { button(shown, 1)->click(); }, "q allowed"},
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
        EXPECT_EQ(button(shown, 0)->text(), "Cancel");
        EXPECT_EQ(button(shown, 1)->text(), "Allow");
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
    waitForDialog("first").findChildren<QPushButton*>().at(1)->click();
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

TEST_F(QtAlertsTest, ShowsHostileTextsAsTextAndKeepsTheButtonsInReach) {
    const std::string detail = "<h1>big</h1>" + std::string(5000, 'x') + std::string(5000, '\n') + "end";
    ask("<b>bold</b>", detail);
    AlertDialog& shown = waitForDialog("<b>bold</b>");
    EXPECT_LT(shown.height(), 500);
    EXPECT_LT(shown.width(), 600);
    for (const QLabel* const label : shown.findChildren<QLabel*>())
        EXPECT_NE(label->textFormat(), Qt::RichText);
    shown.close();
    expectAnswers({"<b>bold</b> refused"});
}

}  // namespace
}  // namespace velmora

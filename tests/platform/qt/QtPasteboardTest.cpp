#include "platform/qt/QtPasteboard.h"

#include "platform/qt/QtMainExecutor.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

namespace velmora {
namespace {

// What it reads through an X server is tested with X11Session; here is what is left without one.
TEST(QtPasteboardTest, HoldsWhatWasPut) {
    QtMainExecutor main;
    QtPasteboard pasteboard(nullptr);
    for (const std::string text : {"4", "", "帮我打开 Safari\nline"}) {
        const std::int64_t before = pasteboard.changeCount();
        EXPECT_TRUE(pasteboard.setText(text));
        EXPECT_GT(pasteboard.changeCount(), before);
        EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), text);
        std::optional<std::string> read;
        const TaskHandle task = spawn(main.executor(), [&]() -> Task<> {
            read = co_await pasteboard.string(std::string(pasteboardType::text), 100);
        });
        EXPECT_TRUE(QTest::qWaitFor([&] { return task.done(); }));
        EXPECT_EQ(read, text);
    }
}

}  // namespace
}  // namespace velmora

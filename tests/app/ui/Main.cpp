#include "core/Assert.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

/// Two screens side by side, the second one larger: windows have to choose.
static constexpr auto screens = R"({"screens": [
  {"name": "left", "x": 0, "y": 0, "width": 1280, "height": 800, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1},
  {"name": "right", "x": 1280, "y": 0, "width": 1920, "height": 1080, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}
]})";

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    velmora::setMainThread();
    const QTemporaryDir folder;
    QFile configuration(folder.filePath("screens.json"));
    if (!configuration.open(QIODevice::WriteOnly) || configuration.write(screens) < 0) return 1;
    configuration.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + configuration.fileName().toUtf8());
    qputenv("QT_ACCESSIBILITY", "1");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}

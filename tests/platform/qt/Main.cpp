#include "core/Assert.h"

#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    velmora::setMainThread();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}

#include "app/ui/icons/IconDecoder.h"

#include "platform/Runtime.h"
#include "platform/linux/process/LinuxChildProcesses.h"
#include "platform/linux/process/ResourceLimits.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QGuiApplication>
#include <iostream>

namespace velmora {
namespace {

std::string svg(const std::string& body) {
    return R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 9 9">)" + body + "</svg>";
}

std::string png() {
    QImage pixels(20, 10, QImage::Format_RGB32);
    pixels.fill(Qt::red);
    QBuffer file;
    EXPECT_TRUE(pixels.save(&file, "PNG"));
    return file.data().toStdString();
}

/// A stroke of a billion dashes.
std::string endlessDrawing() {
    std::string path = "M0 0";
    for (int i = 0; i < 50'000; ++i)
        path += " L99999 " + std::to_string(i) + " L0 0";
    return svg("<path d='" + path + "' fill='none' stroke='#000' stroke-dasharray='9 9' stroke-width='30'/>");
}

TEST(IconDecoder, OutlivesWhatNoRendererDoes) {
    test::TestLoop loop;
    WorkerPool pool{1};
    LinuxChildProcesses processes(pool.executor(), "/");
    IconDecoder decoder(processes);
    const auto decode = [&](const std::string& contents) {
        return loop.run([&] { return decoder.decode(contents, 32); });
    };
    const std::string square = svg("<rect width='9' height='9' fill='#f00'/>");
    for (const std::string& bad : {endlessDrawing(), std::string("no picture"), std::string()}) {
        EXPECT_TRUE(decode(bad).isNull()) << bad.substr(0, 20);
        const QImage after = decode(square);
        EXPECT_EQ(after.size(), QSize(32, 32)) << bad.substr(0, 20);
        EXPECT_EQ(after.pixelColor(16, 16), QColor(Qt::red));
    }
    EXPECT_EQ(decode(png()).size(), QSize(32, 16));
    EXPECT_FALSE(decode(svg("<text x='1' y='8' font-size='9'>a</text>")).isNull()) << "fonts are at hand";
    decoder.rest();
    EXPECT_EQ(decode(square).size(), QSize(32, 32)) << "by another process";
}

}  // namespace
}  // namespace velmora

/// The decoder starts the program that it is part of.
int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == velmora::IconDecoder::argument) {
        const QGuiApplication application(argc, argv);
        velmora::IconDecoder::serve(std::cin, std::cout, velmora::endProcessAfter);
        return 0;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

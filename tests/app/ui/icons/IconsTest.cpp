#include "app/ui/icons/IconImage.h"
#include "app/ui/icons/SymbolIcons.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QIcon>
#include <QImage>
#include <chrono>

namespace velmora {
namespace {

std::string svg(const std::string& body) {
    return R"(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" viewBox="0 0 9 9">)" +
           body + "</svg>";
}

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

/// Ten groups, each of which draws the one before ten times.
std::string referenceBomb() {
    std::string body = "<rect id='g0' width='9' height='9'/>";
    for (int level = 1; level <= 10; ++level) {
        const std::string use = "<use xlink:href='#g" + std::to_string(level - 1) + "'/>";
        body += "<g id='g" + std::to_string(level) + "'>" + repeated(use, 10) + "</g>";
    }
    return svg(body);
}

/// Small as a file.
std::string hugePng() {
    QImage pixels(20'000, 20'000, QImage::Format_Mono);
    pixels.fill(0);
    QBuffer png;
    EXPECT_TRUE(pixels.save(&png, "PNG"));
    return png.data().toStdString();
}

TEST(IconImage, TurnsAwayWhatIsNoIcon) {
    EXPECT_FALSE(IconImage::decode(svg("<rect width='9' height='9'/>"), 64).isNull());
    const std::pair<const char*, std::string> cases[] = {
        {"huge", hugePng()},
        {"broken", hugePng().substr(0, 100)},
        {"deep", svg(repeated("<g>", 200'000) + repeated("</g>", 200'000))},
        {"bomb", referenceBomb()},
        {"entities",
         "<!DOCTYPE svg [<!ENTITY a 'xxxxxxxxxx'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;'>]>" + svg("<text>&b;</text>")},
        {"outside", svg("<image xlink:href='/dev/zero' width='9' height='9'/>")},
        {"compressed", std::string("\x1f\x8b\x08\0\0\0\0\0", 8)},
    };
    for (const auto& [name, contents] : cases) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(IconImage::decode(contents, 64).isNull()) << name;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << name;
    }
}

TEST(SymbolIconsTest, EverySymbolShowsSomethingInTheColourAskedFor) {
    // No theme at all: the drawings have to stand alone.
    QIcon::setThemeSearchPaths({});
    std::vector<QString> names{"no.such.symbol", "", QString(100'000, u'x')};
    for (const SymbolDrawing& one : symbolDrawings())
        names.push_back(QString::fromUtf8(one.symbol.data(), static_cast<qsizetype>(one.symbol.size())));
    for (const QString& name : names) {
        const QPixmap pixmap = SymbolIcons::pixmap(name, 22, 1.5, Qt::green);
        EXPECT_EQ(pixmap.size(), QSize(33, 33)) << name.toStdString();
        const QImage image = pixmap.toImage();
        int inked = 0;
        for (int i = 0; i < image.width() * image.height(); ++i)
            inked += image.pixelColor(i % image.width(), i / image.width()) == QColor(Qt::green) ? 1 : 0;
        EXPECT_GT(inked, 40) << name.toStdString();
    }
}

}  // namespace
}  // namespace velmora

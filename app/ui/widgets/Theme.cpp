#include "app/ui/widgets/Theme.h"

#include <QApplication>
#include <algorithm>
#include <cmath>

namespace velmora {
namespace {

constexpr double readable = 4.5;    // for text
constexpr double noticeable = 3.0;  // for the accent against the background

double luminance(const QColor& colour) {
    const auto linear = [](double channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

QColor mix(const QColor& base, const QColor& other, double share) {
    const auto channel = [share](float from, float to) {
        return static_cast<float>(from + (to - from) * static_cast<float>(share));
    };
    return QColor::fromRgbF(channel(base.redF(), other.redF()), channel(base.greenF(), other.greenF()),
                            channel(base.blueF(), other.blueF()));
}

/// The mixture nearest to `share` of text on the background that is readable on all of the given grounds.
QColor readableMix(const Theme& theme, double share, std::initializer_list<QColor> grounds) {
    for (int percent = static_cast<int>(std::lround(share * 100)); percent <= 100; percent += 2) {
        const QColor colour = mix(theme.background, theme.text, percent / 100.0);
        const bool enough = std::all_of(grounds.begin(), grounds.end(), [&](const QColor& ground) {
            return Theme::contrast(colour, ground) >= readable;
        });
        if (enough) return colour;
    }
    return theme.text;
}

QColor accentOf(const QPalette& palette, const Theme& theme) {
    const QColor system = palette.color(QPalette::Active, QPalette::Highlight);
    const bool colourful = system.hslSaturationF() > 0.25F;
    if (colourful && Theme::contrast(system, theme.background) >= noticeable) return system;
    return theme.dark ? QColor(0x7c, 0x9b, 0xff) : QColor(0x3d, 0x63, 0xdd);
}

}  // namespace

double Theme::contrast(const QColor& one, const QColor& other) {
    const double first = luminance(one);
    const double second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

Theme Theme::of(const QPalette& palette) {
    Theme theme;
    const QColor window = palette.color(QPalette::Active, QPalette::Window);
    theme.text = palette.color(QPalette::Active, QPalette::WindowText);
    theme.dark = luminance(window) < luminance(theme.text);
    // Light desktops keep their greys for window chrome: lists and text fields are lighter, and so is a palette.
    theme.background = theme.dark ? window : palette.color(QPalette::Active, QPalette::Base);
    theme.background.setAlpha(255);
    theme.accent = accentOf(palette, theme);
    theme.selection = mix(theme.background, theme.accent, theme.dark ? 0.26 : 0.13);
    theme.hover = mix(theme.background, theme.text, 0.04);
    const float chipShare = theme.dark ? 0.12F : 0.07F;
    theme.chip = theme.text;
    theme.chip.setAlphaF(chipShare);
    theme.separator = mix(theme.background, theme.text, theme.dark ? 0.12 : 0.10);
    theme.border = mix(theme.background, theme.text, theme.dark ? 0.22 : 0.18);
    theme.secondary =
        readableMix(theme, 0.60, {theme.background, theme.selection, mix(theme.selection, theme.text, chipShare)});
    theme.danger = theme.dark ? QColor(0xff, 0x8a, 0x80) : QColor(0xb3, 0x26, 0x1e);
    theme.dangerFill = mix(theme.background, theme.danger, theme.dark ? 0.16 : 0.08);
    return theme;
}

const Theme& Theme::current() {
    static Theme theme;
    static qint64 key = 0;
    const QPalette palette = QApplication::palette();
    if (key != palette.cacheKey()) {
        theme = of(palette);
        key = palette.cacheKey();
    }
    return theme;
}

QFont Theme::font(int pixels, QFont::Weight weight) {
    QFont font = QApplication::font();
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

QPalette Theme::darkPalette() {
    const QColor window(0x24, 0x25, 0x2a);
    const QColor base(0x1c, 0x1d, 0x21);
    const QColor text(0xf0, 0xf0, 0xf3);
    QPalette palette(text, QColor(0x34, 0x35, 0x3b), QColor(0x4a, 0x4b, 0x52), QColor(0x14, 0x15, 0x18),
                     QColor(0x2c, 0x2d, 0x33), text, Qt::white, base, window);
    palette.setColor(QPalette::Highlight, QColor(0x5b, 0x84, 0xff));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x7c, 0x9b, 0xff));
    palette.setColor(QPalette::PlaceholderText, QColor(0x9a, 0x9b, 0xa3));
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x81, 0x88));
    }
    return palette;
}

}  // namespace velmora

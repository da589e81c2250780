#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace velmora {

/// The colours, sizes and fonts of the program's windows. Lengths are logical pixels, on a grid of four.
///
/// The colours follow the system palette: its background and text, one accent, and what is mixed from these so that
/// secondary text keeps a contrast of 4.5:1 wherever it stands.
struct Theme {
    bool dark = false;
    QColor background;
    QColor text;
    QColor secondary;  ///< subtitles, hints, placeholders
    QColor separator;
    QColor border;  ///< the edge of windows and popovers
    QColor chip;    ///< behind key caps and small buttons; translucent, for it lies on other grounds
    QColor hover;
    QColor accent;
    QColor selection;  ///< behind the selected row
    QColor danger;
    QColor dangerFill;

    static Theme of(const QPalette& palette);

    /// The theme of the application's present palette. Runs on: the main thread.
    static const Theme& current();

    /// The contrast of two opaque colours as WCAG counts it: 1 to 21.
    static double contrast(const QColor& one, const QColor& other);

    /// The system's font at a size in pixels.
    static QFont font(int pixels, QFont::Weight weight = QFont::Normal);

    /// A palette for a desktop that wants dark windows but says so in its settings only.
    static QPalette darkPalette();

    static constexpr int panelWidth = 700;
    static constexpr int panelHeight = 510;
    static constexpr int cornerRadius = 16;
    static constexpr int inputHeight = 64;
    static constexpr int footerHeight = 40;
    static constexpr int rowHeight = 48;
    static constexpr int rowRadius = 10;
    static constexpr int listMargin = 8;
    static constexpr int iconFrame = 32;
    static constexpr int symbolPadding = 5;
    static constexpr int inputFont = 21;
    static constexpr int titleFont = 14;
    static constexpr int textFont = 13;
    static constexpr int smallFont = 12;
    static constexpr int keyFont = 11;
};

}  // namespace velmora

#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace ferrolt {

/// The window's colours, type and distances by role. Colours are derived from the palette at hand, so they
/// are right on a dark desktop as on a light one, and right again after the user switches: ask for them while
/// painting, or again on QEvent::PaletteChange. Fonts likewise, or again on QEvent::FontChange, which comes
/// only to widgets that have no font of their own.
///
/// Main thread, after the application object was created.
class Theme {
  public:
    static bool isDark(const QPalette &palette);

    static QColor windowBackground(const QPalette &palette);
    static QColor sidebarBackground(const QPalette &palette);
    /// Cards and badges.
    static QColor controlBackground(const QPalette &palette);
    /// Text fields and logs.
    static QColor textBackground(const QPalette &palette);
    static QColor separator(const QPalette &palette);
    /// The desktop's own, shifted where needed until it reads as text on the window background.
    static QColor accent(const QPalette &palette);
    /// The accent colour as text on a `background` other than the window's.
    static QColor accentOn(const QPalette &palette, const QColor &background);
    /// Text and symbols on a surface of the accent colour.
    static QColor onAccent(const QPalette &palette);
    /// A scroll bar's handle on a `background`; `isHeld` for one that the pointer is at.
    static QColor handleOn(const QColor &background, bool isHeld);
    /// The surface behind the selected entry of a list.
    static QColor selection(const QPalette &palette);
    static QColor primaryText(const QPalette &palette);
    /// On the text background: a desktop's views may be dark where its windows are light.
    static QColor logText(const QPalette &palette);
    static QColor secondaryText(const QPalette &palette);
    static QColor green(const QPalette &palette);
    static QColor gray(const QPalette &palette);
    static QColor orange(const QPalette &palette);
    static QColor red(const QPalette &palette);

    /// The desktop's own font.
    static QFont body();
    static QFont headline();     ///< body in bold
    static QFont subheadline();  ///< 0.85 of body
    static QFont caption();      ///< 0.77 of body
    static QFont console();      ///< the desktop's fixed-width font at body size

    /// Logical pixels.
    static constexpr int padding = 16;
    static constexpr int spacing = 8;

    /// The palettes for a desktop that gives none of its own.
    static QPalette lightPalette();
    static QPalette darkPalette();

    /// How well the one reads on the other, from 1 (not at all) to 21, as WCAG 2 defines it.
    static double contrast(const QColor &first, const QColor &second);
};

}  // namespace ferrolt

#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

#include <optional>

namespace ferrolt {

/// The window's colours, fonts and distances by role. Colours are derived from a palette and suit dark and
/// light desktops. Do not keep colours or fonts: ask for them while painting, or again on
/// QEvent::PaletteChange and QEvent::FontChange (a widget with a font of its own gets no FontChange).
///
/// Main thread, after the application object was created.
class Theme {
  public:
    using ColorRole = QColor (*)(const QPalette &);
    using FontRole = QFont (*)();

    enum class Contrast { Normal, High };

    static bool isDark(const QPalette &palette);
    /// High with black text on white, or white on black: lines, secondary text and the focus ring are
    /// stronger then.
    static Contrast contrastOf(const QPalette &palette);

    static QColor windowBackground(const QPalette &palette);
    static QColor sidebarBackground(const QPalette &palette);
    /// Cards and badges.
    static QColor controlBackground(const QPalette &palette);
    /// Text fields and logs.
    static QColor textBackground(const QPalette &palette);
    static QColor separator(const QPalette &palette);
    /// The desktop's accent colour, with enough contrast for text on the window background.
    static QColor accent(const QPalette &palette);
    /// The accent colour with enough contrast for text on `background`.
    static QColor accentOn(const QPalette &palette, const QColor &background);
    /// Text and symbols on a surface of the accent colour.
    static QColor onAccent(const QPalette &palette);
    /// A scroll bar's handle, at least 3:1 against `background`.
    static QColor handleOn(const QColor &background);
    /// The handle under the pointer, at least 5:1.
    static QColor activeHandleOn(const QColor &background);
    /// The background of a list's selected row.
    static QColor selection(const QPalette &palette);
    static QColor primaryText(const QPalette &palette);
    /// Text on textBackground(). Some desktops have dark views in light windows.
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

    /// The palettes for a desktop that provides none. An accent colour is mixed with the text's colour until
    /// it has a contrast of 3:1 against the window; without one the palette has its own.
    static QPalette lightPalette(Contrast contrast = Contrast::Normal,
                                 const std::optional<QColor> &accent = {});
    static QPalette darkPalette(Contrast contrast = Contrast::Normal,
                                const std::optional<QColor> &accent = {});

    /// The contrast ratio of WCAG 2, from 1 to 21.
    static double contrast(const QColor &first, const QColor &second);
};

}  // namespace ferrolt

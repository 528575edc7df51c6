#include "Theme.h"

#include <QFontDatabase>
#include <QGuiApplication>

#include <cmath>

namespace ferrolt {
namespace {

/// Linear interpolation; `part` from 0 to 1.
QColor mix(const QColor &from, const QColor &to, double part) {
    const auto channel = [part](int a, int b) { return static_cast<int>(std::lround(a + (b - a) * part)); };
    return QColor(channel(from.red(), to.red()), channel(from.green(), to.green()),
                  channel(from.blue(), to.blue()));
}

double luminance(const QColor &color) {
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QColor opaque(QColor color) {
    color.setAlpha(255);
    return color;
}

QColor window(const QPalette &palette) {
    return opaque(palette.color(QPalette::Active, QPalette::Window));
}
QColor windowText(const QPalette &palette) {
    return opaque(palette.color(QPalette::Active, QPalette::WindowText));
}
QColor base(const QPalette &palette) {
    return opaque(palette.color(QPalette::Active, QPalette::Base));
}

/// `color`, mixed with as little `text` as gives it the contrast `wanted` against `background`.
QColor readable(const QColor &color, const QColor &background, const QColor &text, double wanted) {
    QColor shifted = color;
    for (int step = 1; step <= 20 && Theme::contrast(shifted, background) < wanted; ++step)
        shifted = mix(color, text, step / 20.0);
    return shifted;
}

bool isHigh(const QPalette &palette) {
    return Theme::contrastOf(palette) == Theme::Contrast::High;
}

/// Text on a surface of a colour: white, unless that is hard to read.
QColor inkOn(const QColor &surface, double wanted) {
    return Theme::contrast(Qt::white, surface) >= wanted ? QColor(Qt::white) : QColor(0x1b, 0x1b, 0x1d);
}

QColor handleWith(double contrast, const QColor &background) {
    const QColor ink = luminance(background) < 0.2 ? QColor(Qt::white) : QColor(Qt::black);
    return readable(mix(background, ink, 0.3), background, ink, contrast);
}

/// A font's size is either in points or in pixels; the unit is kept.
QFont scaled(QFont font, double factor) {
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(std::max(1, static_cast<int>(std::lround(font.pixelSize() * factor))));
    return font;
}

struct Tones {
    QColor window, base, control, text, secondary, separator, accent, accentText;
};

QPalette paletteOf(const Tones &tones) {
    QPalette palette;
    const auto set = [&palette](QPalette::ColorRole role, const QColor &color) {
        palette.setColor(QPalette::All, role, color);
    };
    set(QPalette::Window, tones.window);
    set(QPalette::WindowText, tones.text);
    set(QPalette::Base, tones.base);
    set(QPalette::AlternateBase, mix(tones.base, tones.text, 0.04));
    set(QPalette::Text, tones.text);
    set(QPalette::PlaceholderText, tones.secondary);
    set(QPalette::Button, tones.control);
    set(QPalette::ButtonText, tones.text);
    set(QPalette::BrightText, QColor(Qt::white));
    set(QPalette::Light, mix(tones.control, Qt::white, 0.2));
    set(QPalette::Midlight, mix(tones.control, Qt::white, 0.1));
    set(QPalette::Mid, mix(tones.separator, Qt::black, 0.1));
    set(QPalette::Dark, mix(tones.separator, Qt::black, 0.3));
    set(QPalette::Shadow, QColor(Qt::black));
    set(QPalette::Highlight, tones.accent);
    set(QPalette::HighlightedText, tones.accentText);
    set(QPalette::Link, tones.accent);
    set(QPalette::LinkVisited, mix(tones.accent, tones.text, 0.3));
    set(QPalette::ToolTipBase, tones.control);
    set(QPalette::ToolTipText, tones.text);

    const QColor faded = mix(tones.text, tones.window, 0.6);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                                           QPalette::PlaceholderText, QPalette::HighlightedText})
        palette.setColor(QPalette::Disabled, role, faded);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, tones.separator);
    return palette;
}

QPalette paletteOf(Tones tones, const std::optional<QColor> &accent) {
    if (accent) {
        const QColor inWindow = readable(*accent, tones.window, tones.text, 3.0);
        tones.accent = readable(inWindow, tones.base, tones.text, 3.0);
        tones.accentText = inkOn(tones.accent, 4.0);
    }
    return paletteOf(tones);
}

}  // namespace

double Theme::contrast(const QColor &first, const QColor &second) {
    const double a = luminance(first);
    const double b = luminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

bool Theme::isDark(const QPalette &palette) {
    return luminance(window(palette)) < luminance(windowText(palette));
}

Theme::Contrast Theme::contrastOf(const QPalette &palette) {
    return contrast(window(palette), windowText(palette)) >= 20 ? Contrast::High : Contrast::Normal;
}

QColor Theme::windowBackground(const QPalette &palette) {
    return window(palette);
}

QColor Theme::sidebarBackground(const QPalette &palette) {
    return mix(window(palette), windowText(palette), 0.042);
}

QColor Theme::controlBackground(const QPalette &palette) {
    // Raised surfaces are lighter than the window. On a light desktop nothing is lighter than the text
    // background.
    return isDark(palette) ? mix(window(palette), Qt::white, 0.067) : base(palette);
}

QColor Theme::textBackground(const QPalette &palette) {
    return base(palette);
}

QColor Theme::separator(const QPalette &palette) {
    if (isHigh(palette))
        return mix(window(palette), windowText(palette), 0.5);
    return mix(window(palette), windowText(palette), isDark(palette) ? 0.125 : 0.15);
}

QColor Theme::accent(const QPalette &palette) {
    return accentOn(palette, window(palette));
}

QColor Theme::accentOn(const QPalette &palette, const QColor &background) {
    // WCAG asks for 4.5 of small text, and for 7 where contrast is wanted; 4.0 leaves the usual blues
    // unchanged.
    return readable(opaque(palette.color(QPalette::Active, QPalette::Highlight)), background,
                    windowText(palette), isHigh(palette) ? 7.0 : 4.0);
}

QColor Theme::onAccent(const QPalette &palette) {
    // White on most accent colours, as on the prominent buttons of other desktops.
    return inkOn(accent(palette), isHigh(palette) ? 4.5 : 2.5);
}

QColor Theme::handleOn(const QColor &background) {
    return handleWith(3.1, background);  // WCAG asks for 3 of controls
}

QColor Theme::activeHandleOn(const QColor &background) {
    return handleWith(5.0, background);
}

QColor Theme::selection(const QPalette &palette) {
    return isDark(palette) ? mix(sidebarBackground(palette), accent(palette), 0.27)
                           : mix(base(palette), accent(palette), 0.16);
}

QColor Theme::primaryText(const QPalette &palette) {
    return windowText(palette);
}

QColor Theme::logText(const QPalette &palette) {
    return opaque(palette.color(QPalette::Active, QPalette::Text));
}

QColor Theme::secondaryText(const QPalette &palette) {
    const QColor faded = mix(windowText(palette), window(palette), isDark(palette) ? 0.42 : 0.375);
    return readable(faded, window(palette), windowText(palette), isHigh(palette) ? 7.0 : 4.5);
}

QColor Theme::green(const QPalette &palette) {
    if (isDark(palette))
        return QColor(0x32, 0xd1, 0x58);
    return isHigh(palette) ? QColor(0x15, 0x64, 0x29) : QColor(0x24, 0x8a, 0x3d);
}

QColor Theme::gray(const QPalette &palette) {
    const QColor gray(0x8e, 0x8e, 0x93);
    return isHigh(palette) ? readable(gray, window(palette), windowText(palette), 4.5) : gray;
}

QColor Theme::orange(const QPalette &palette) {
    return isDark(palette) ? QColor(0xff, 0xb3, 0x40) : QColor(0xd9, 0x7a, 0x06);
}

QColor Theme::red(const QPalette &palette) {
    return isDark(palette) ? QColor(0xff, 0x69, 0x61) : QColor(0xd7, 0x00, 0x15);
}

QFont Theme::body() {
    Q_ASSERT(qGuiApp);
    return QGuiApplication::font();
}

QFont Theme::headline() {
    QFont font = body();
    font.setBold(true);
    return font;
}

QFont Theme::subheadline() {
    return scaled(body(), 0.85);
}

QFont Theme::caption() {
    return scaled(body(), 0.77);
}

QFont Theme::console() {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    const QFont size = body();
    if (size.pointSizeF() > 0)
        font.setPointSizeF(size.pointSizeF());
    else
        font.setPixelSize(size.pixelSize());
    return font;
}

QPalette Theme::lightPalette(Contrast contrast, const std::optional<QColor> &accent) {
    if (contrast == Contrast::High)
        return paletteOf({.window = QColor(Qt::white),
                          .base = QColor(Qt::white),
                          .control = QColor(Qt::white),
                          .text = QColor(Qt::black),
                          .secondary = QColor(0x50, 0x50, 0x54),
                          .separator = QColor(0x80, 0x80, 0x80),
                          .accent = QColor(0x00, 0x4d, 0xb0),
                          .accentText = QColor(Qt::white)},
                         accent);
    return paletteOf({.window = QColor(0xf5, 0xf5, 0xf7),
                      .base = QColor(0xff, 0xff, 0xff),
                      .control = QColor(0xff, 0xff, 0xff),
                      .text = QColor(0x1d, 0x1d, 0x1f),
                      .secondary = QColor(0x6e, 0x6e, 0x73),
                      .separator = QColor(0xd4, 0xd4, 0xd9),
                      .accent = QColor(0x0a, 0x66, 0xd8),
                      .accentText = QColor(0xff, 0xff, 0xff)},
                     accent);
}

QPalette Theme::darkPalette(Contrast contrast, const std::optional<QColor> &accent) {
    if (contrast == Contrast::High)
        return paletteOf({.window = QColor(Qt::black),
                          .base = QColor(Qt::black),
                          .control = QColor(0x18, 0x18, 0x1a),
                          .text = QColor(Qt::white),
                          .secondary = QColor(0xb4, 0xb4, 0xba),
                          .separator = QColor(0x80, 0x80, 0x80),
                          .accent = QColor(0x7a, 0xb6, 0xff),
                          .accentText = QColor(0x1b, 0x1b, 0x1d)},
                         accent);
    return paletteOf({.window = QColor(0x24, 0x24, 0x26),
                      .base = QColor(0x1b, 0x1b, 0x1d),
                      .control = QColor(0x32, 0x32, 0x36),
                      .text = QColor(0xf2, 0xf2, 0xf4),
                      .secondary = QColor(0x9a, 0x9a, 0xa0),
                      .separator = QColor(0x3d, 0x3d, 0x42),
                      .accent = QColor(0x4a, 0x9b, 0xff),
                      .accentText = QColor(0x1b, 0x1b, 0x1d)},
                     accent);
}

}  // namespace ferrolt

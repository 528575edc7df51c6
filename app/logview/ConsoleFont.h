#pragma once

#include <QFont>
#include <QRawFont>

#include <array>

namespace ferrolt {

/// The fixed-width font of the consoles, and the grid in which it is set. Cells are a whole number of device
/// pixels wide and rows a whole number of logical pixels high, so that columns line up and all rows are alike
/// at every scale factor.
///
/// Rows of printable ASCII, nearly all of a log, need no text layout: each character is one glyph in one
/// cell, and the glyphs are looked up once for the font.
class ConsoleFont {
  public:
    ConsoleFont() = default;
    ConsoleFont(const QFont &font, qreal devicePixelRatio);

    /// Whether this was made from that font for that ratio.
    bool isFor(const QFont &font, qreal devicePixelRatio) const;

    /// With letter spacing that makes its characters a cell wide.
    const QFont &font() const { return spaced; }
    const QRawFont &rawFont() const { return raw; }
    qreal cellWidth() const { return cell; }
    int rowHeight() const { return row; }
    /// From the top of a row to its base line.
    qreal ascent() const { return baseLine; }

    /// Whether a character is printable ASCII that the font draws as one glyph of its own.
    bool hasGlyph(char character) const { return glyph(character) != 0; }
    quint32 glyph(char character) const { return glyphs[static_cast<unsigned char>(character)]; }

  private:
    QFont asked;
    qreal ratio = 0;
    QFont spaced;
    QRawFont raw;
    qreal cell = 8;
    int row = 16;
    qreal baseLine = 12;
    std::array<quint32, 256> glyphs{};  ///< of each byte; 0 for all but printable ASCII
};

}  // namespace ferrolt

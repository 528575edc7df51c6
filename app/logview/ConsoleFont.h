#pragma once

#include <QFont>
#include <QRawFont>

#include <array>

namespace ferrolt {

/// The fixed-width font of the consoles and the grid that it sets. Cells are a whole number of device pixels
/// wide and rows a whole number of logical pixels high, so that columns line up and rows are alike at every
/// scale.
///
/// Rows of printable ASCII, which is nearly all that a log holds, need no text layout: each character is one
/// glyph of one cell, and the glyphs are looked up once for the font.
class ConsoleFont {
  public:
    ConsoleFont() = default;
    ConsoleFont(const QFont &font, qreal devicePixelRatio);

    bool isFor(const QFont &font, qreal devicePixelRatio) const;

    /// Spaced so that its characters are a cell wide.
    const QFont &font() const { return spaced; }
    const QRawFont &rawFont() const { return raw; }
    qreal cellWidth() const { return cell; }
    int rowHeight() const { return row; }
    /// Of the base line below the top of the row.
    qreal ascent() const { return baseLine; }

    /// Whether the font draws this character by itself, as one glyph.
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
    std::array<quint32, 256> glyphs{};  ///< of each byte; 0 for those that are no printable ASCII character
};

}  // namespace ferrolt

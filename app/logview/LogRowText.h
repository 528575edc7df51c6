#pragma once

#include "ConsoleFont.h"
#include "LogPosition.h"

#include <QByteArrayView>
#include <QColor>
#include <QPainter>
#include <QTextLayout>

#include <memory>
#include <vector>

namespace ferrolt {

/// Glyphs of one colour from many rows, drawn at once.
class GlyphBatch {
  public:
    void add(quint32 glyph, QPointF baseLine) {
        glyphs.push_back(glyph);
        positions.push_back(baseLine);
    }
    void draw(QPainter &painter, const QRawFont &font, const QColor &color) const;

  private:
    std::vector<quint32> glyphs;
    std::vector<QPointF> positions;
};

/// The text of one row as it is drawn: which byte stands where, in logical pixels from the row's left edge.
/// Short-lived, for rows on screen only. A row of printable ASCII is set in the grid. Any other row is laid
/// out as one line, and squeezed if its fonts make it wider than a full row.
class LogRowText {
  public:
    /// `text` is the row without its line break; `font` and `text` must outlive this. `width` is that of a
    /// full row.
    LogRowText(const ConsoleFont &font, QByteArrayView text, qreal width);

    qreal width() const;
    /// `offset` must be the beginning of a character, or the row's end.
    qreal xOf(std::uint32_t offset) const;
    /// The offset of the place between two characters that is nearest to `x`.
    std::uint32_t offsetAt(qreal x) const;

    /// The left and right edges of what the text from `begin` to `end` covers: several parts where writing
    /// directions meet.
    std::vector<std::pair<qreal, qreal>> extents(std::uint32_t begin, std::uint32_t end) const;

    /// The part that is drawn in another colour.
    struct Highlight {
        std::uint32_t begin = 0;
        std::uint32_t end = 0;
        QColor color;
    };
    /// Draws the row with its top left corner at `at`. A row in the grid is added to the batches instead.
    void draw(QPainter &painter, QPointF at, const QColor &color, const Highlight &highlight,
              GlyphBatch &plain, GlyphBatch &highlighted) const;

  private:
    void layOut(qreal width);
    int unitOf(std::uint32_t offset) const;
    std::uint32_t offsetOfUnit(int unit) const;

    const ConsoleFont &font;
    QByteArrayView text;
    std::unique_ptr<QTextLayout> layout;  ///< none for a row in the grid
    qreal squeeze = 1;
    bool hasTabs = false;
    bool hasRightToLeft = false;
};

}  // namespace ferrolt

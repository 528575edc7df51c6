#include "LogRowText.h"

#include "CellWidth.h"
#include "Utf16Index.h"
#include "Utf8.h"

#include <QGlyphRun>
#include <QTextOption>

#include <algorithm>
#include <cmath>

namespace ferrolt {
namespace {

std::uint32_t cellsAfter(char character, std::uint32_t cells) {
    return character == '\t' ? nextTabStop(cells) : cells + 1;
}

/// The text as it is shown, in UTF-16. It has as many units as the text itself, so that offsets correspond.
QString shown(QByteArrayView text) {
    QString result;
    result.reserve(text.size());
    const auto size = static_cast<std::size_t>(text.size());
    for (std::size_t at = 0; at < size;) {
        const utf8::Character character = utf8::characterAt(text, at);
        at += character.length;
        const char16_t instead = shownInsteadOf(character.codePoint);
        if (instead != 0)
            result += QChar(instead);
        else
            result += QStringView(QChar::fromUcs4(character.codePoint));
    }
    return result;
}

/// Whether a UTF-16 unit may belong to text that is written from right to left.
bool isRightToLeft(QChar c) {
    if (c.isHighSurrogate())  // of the blocks of such scripts
        return c.unicode() >= 0xD802 && c.unicode() <= 0xD83B;
    switch (c.direction()) {
        case QChar::DirR:
        case QChar::DirAL:
        case QChar::DirAN:
        case QChar::DirRLE:
        case QChar::DirRLO:
        case QChar::DirRLI:
            return true;
        default:
            return false;
    }
}

}  // namespace

void GlyphBatch::draw(QPainter &painter, const QRawFont &font, const QColor &color) const {
    if (glyphs.empty())
        return;
    QGlyphRun run;
    run.setRawFont(font);
    run.setRawData(glyphs.data(), positions.data(), static_cast<int>(glyphs.size()));
    painter.setPen(color);
    painter.drawGlyphRun(QPointF(), run);
}

LogRowText::LogRowText(const ConsoleFont &font, QByteArrayView text, qreal width) : font(font), text(text) {
    for (const char c : text) {
        if (c == '\t') {
            hasTabs = true;
        } else if (c != ' ' && !font.hasGlyph(c)) {
            layOut(width);
            return;
        }
    }
}

void LogRowText::layOut(qreal width) {
    const QString string = shown(text);
    hasRightToLeft = std::any_of(string.begin(), string.end(), isRightToLeft);
    layout = std::make_unique<QTextLayout>(string, font.font());
    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    option.setTextDirection(Qt::LeftToRight);
    option.setTabStopDistance(font.cellWidth() * tabCells);
    layout->setTextOption(option);
    layout->beginLayout();
    QTextLine line = layout->createLine();
    line.setLineWidth(1e6);
    layout->endLayout();
    const qreal natural = line.naturalTextWidth();
    if (natural > width && natural > 0)
        squeeze = std::max(width / natural, 0.05);
}

int LogRowText::unitOf(std::uint32_t offset) const {
    return static_cast<int>(Utf16Index::unitsIn(text.first(offset)));
}

std::uint32_t LogRowText::offsetOfUnit(int unit) const {
    return static_cast<std::uint32_t>(Utf16Index::bytesOf(text, unit));
}

qreal LogRowText::xOf(std::uint32_t offset) const {
    Q_ASSERT(offset <= static_cast<std::uint32_t>(text.size()));
    Q_ASSERT(offset == static_cast<std::uint32_t>(text.size()) || !utf8::isContinuation(text[offset]));
    if (layout)
        return layout->lineAt(0).cursorToX(unitOf(offset)) * squeeze;
    if (!hasTabs)
        return offset * font.cellWidth();
    std::uint32_t cells = 0;
    for (std::uint32_t i = 0; i < offset; ++i)
        cells = cellsAfter(text[i], cells);
    return cells * font.cellWidth();
}

qreal LogRowText::width() const {
    if (layout && hasRightToLeft)
        return layout->lineAt(0).naturalTextWidth() * squeeze;
    return xOf(static_cast<std::uint32_t>(text.size()));
}

std::uint32_t LogRowText::offsetAt(qreal x) const {
    if (layout)
        return offsetOfUnit(layout->lineAt(0).xToCursor(x / squeeze));
    std::uint32_t cells = 0;
    for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(text.size()); ++i) {
        const std::uint32_t next = cellsAfter(text[i], cells);
        if (x < (cells + next) / 2.0 * font.cellWidth())
            return i;
        cells = next;
    }
    return static_cast<std::uint32_t>(text.size());
}

std::vector<std::pair<qreal, qreal>> LogRowText::extents(std::uint32_t begin, std::uint32_t end) const {
    std::vector<std::pair<qreal, qreal>> parts;
    if (begin >= end)
        return parts;
    if (!layout) {
        parts.emplace_back(xOf(begin), xOf(end));
        return parts;
    }
    const QTextLine line = layout->lineAt(0);
    const int first = unitOf(begin);
    const int last = unitOf(end);
    if (!hasRightToLeft) {
        parts.emplace_back(line.cursorToX(first) * squeeze, line.cursorToX(last) * squeeze);
        return parts;
    }
    for (const QGlyphRun &run : line.glyphRuns(first, last - first)) {
        const QRectF box = run.boundingRect();
        parts.emplace_back(box.left() * squeeze, box.right() * squeeze);
    }
    // Tabs have no glyphs, and so no run.
    for (int unit = first; unit < last; ++unit) {
        if (layout->text().at(unit) == u'\t')
            parts.emplace_back(std::minmax(line.cursorToX(unit, QTextLine::Leading) * squeeze,
                                           line.cursorToX(unit, QTextLine::Trailing) * squeeze));
    }
    return parts;
}

void LogRowText::draw(QPainter &painter, QPointF at, const QColor &color, const Highlight &highlight,
                      GlyphBatch &plain, GlyphBatch &highlighted) const {
    if (!layout) {
        std::uint32_t cells = 0;
        for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(text.size()); ++i) {
            const char c = text[i];
            if (c != ' ' && c != '\t') {
                GlyphBatch &batch = i >= highlight.begin && i < highlight.end ? highlighted : plain;
                batch.add(font.glyph(c), at + QPointF(cells * font.cellWidth(), font.ascent()));
            }
            cells = cellsAfter(c, cells);
        }
        return;
    }
    QList<QTextLayout::FormatRange> formats;
    if (highlight.begin < highlight.end) {
        QTextLayout::FormatRange range;
        range.start = unitOf(highlight.begin);
        range.length = unitOf(highlight.end) - range.start;
        range.format.setForeground(highlight.color);
        formats.append(range);
    }
    painter.save();
    // Stacked marks must not reach into the rows above and below.
    painter.setClipRect(QRectF(at.x() - font.cellWidth(), at.y(), 1e6, font.rowHeight()), Qt::IntersectClip);
    painter.setPen(color);
    painter.translate(at);
    painter.scale(squeeze, 1);
    // A fallback font may have another ascent: all rows share the console font's base line.
    const qreal lift = font.ascent() - layout->lineAt(0).ascent();
    layout->draw(&painter, QPointF(0, lift), formats);
    painter.restore();
}

}  // namespace ferrolt

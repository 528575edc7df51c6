#include "LogPainter.h"

#include "LogRowText.h"
#include "Theme.h"

#include <algorithm>

namespace ferrolt {
namespace {

struct Bytes {
    std::uint32_t begin;
    std::uint32_t end;
};

/// The part of a row's text that lies in a span, as offsets from the row's beginning.
Bytes within(const LogRow &row, LogSpan span) {
    const LogPosition first{row.sequence, row.begin};
    const LogPosition last{row.sequence, row.textEnd};
    const LogPosition begin = std::clamp(span.begin, first, last);
    const LogPosition end = std::clamp(span.end, first, last);
    return {count(begin.offset) - count(row.begin), count(end.offset) - count(row.begin)};
}

QColor hitColor(const QPalette &palette) {
    const bool isDark = Theme::textBackground(palette).lightness() < Theme::logText(palette).lightness();
    return isDark ? QColor(0x6b, 0x59, 0x0c) : QColor(0xff, 0xe8, 0x8c);
}

QColor currentHitColor() {
    return QColor(0xff, 0xae, 0x2b);
}

struct SelectionColors {
    QColor ground;
    QColor text;
};

/// Many palettes have one highlight for both groups; then gray shows that the keyboard is elsewhere. The gray
/// is a veil, through which hits can be seen.
SelectionColors selectionColors(const QPalette &palette, QPalette::ColorGroup group) {
    constexpr double minContrast = 3;
    constexpr float veil = 0.22F;
    const QColor highlight = palette.color(group, QPalette::Highlight);
    const QColor highlightedText = palette.color(group, QPalette::HighlightedText);
    const bool isOwn = highlight != palette.color(QPalette::Active, QPalette::Highlight);
    if (group == QPalette::Active || (isOwn && Theme::contrast(highlightedText, highlight) >= minContrast))
        return {highlight, highlightedText};
    const QColor text = Theme::logText(palette);
    QColor gray = text;
    gray.setAlphaF(veil);
    return {gray, text};
}

}  // namespace

void LogPainter::fill(QPainter &painter, const LogViewport::VisibleRow &visible, const LogRowText &text,
                      LogSpan span, const QColor &color) const {
    const Bytes bytes = within(visible.row, span);
    // A space may exceed its row by one cell, which is not drawn.
    for (const auto &[from, to] : text.extents(bytes.begin, bytes.end))
        painter.fillRect(QRectF(left + from, visible.y, std::min(to, width) - from, font.rowHeight()), color);
}

void LogPainter::fillBeyond(QPainter &painter, const LogViewport::VisibleRow &visible, qreal textWidth,
                            const QColor &color) const {
    const LogRow &row = visible.row;
    const LogPosition textEnd{row.sequence, row.textEnd};
    const LogPosition next{row.sequence, row.next};
    const bool goesOn = row.endsLine() ? selection.end >= next : selection.end > next;
    if (selection.begin > textEnd || !goesOn)
        return;
    painter.fillRect(QRectF(left + textWidth, visible.y, std::max(width - textWidth, 0.0), font.rowHeight()),
                     color);
    const auto size = static_cast<std::size_t>(log.bySequence(row.sequence).size());
    if (row.next == byteOffset(size) && selection.end.sequence > row.sequence)
        painter.fillRect(QRectF(left, visible.y + font.rowHeight(), width, LogLayout::spacing), color);
}

void LogPainter::drawCaret(QPainter &painter, const LogViewport::VisibleRow &visible, const LogRowText &text,
                           const QColor &color) const {
    const LogRow &row = visible.row;
    const LogPosition begin{row.sequence, row.begin};
    const LogPosition next{row.sequence, row.next};
    const bool isLast = row.next == byteOffset(static_cast<std::size_t>(log.bySequence(row.sequence).size()));
    if (!caret || *caret < begin || *caret > next || (*caret == next && !isLast))
        return;
    const auto offset = std::min(count(caret->offset), count(row.textEnd)) - count(row.begin);
    painter.fillRect(QRectF(left + text.xOf(offset) - 0.5, visible.y, 1.5, font.rowHeight()), color);
}

void LogPainter::paint(QPainter &painter, const std::vector<LogViewport::VisibleRow> &rows) const {
    const QColor textColor = Theme::logText(palette);
    const auto [selected, selectedText] =
        selectionIsHit ? SelectionColors{currentHitColor(), Qt::black} : selectionColors(palette, group);
    GlyphBatch plain;
    GlyphBatch highlighted;
    for (const LogViewport::VisibleRow &visible : rows) {
        const LogRow &row = visible.row;
        if (!log.holds(row.sequence))
            continue;
        const LogRowText text(font, textOf(log, row), width);

        if (hits) {
            for (const LogSpan &hit : hits(row))
                fill(painter, visible, text, hit, hitColor(palette));
        }
        LogRowText::Highlight highlight{0, 0, selectedText};
        if (!selection.isEmpty()) {
            fill(painter, visible, text, selection, selected);
            fillBeyond(painter, visible, text.width(), selected);
            const Bytes bytes = within(row, selection);
            highlight.begin = bytes.begin;
            highlight.end = bytes.end;
        }
        text.draw(painter, QPointF(left, visible.y), textColor, highlight, plain, highlighted);
        drawCaret(painter, visible, text, textColor);
    }
    plain.draw(painter, font.rawFont(), textColor);
    highlighted.draw(painter, font.rawFont(), selectedText);
}

}  // namespace ferrolt

#pragma once

#include "ConsoleFont.h"
#include "LogBuffer.h"
#include "LogSelection.h"
#include "LogViewport.h"

#include <QPainter>
#include <QPalette>

#include <functional>
#include <optional>
#include <vector>

namespace ferrolt {

/// The parts of a row that a search found.
using HitsOfRow = std::function<std::vector<LogSpan>(const LogRow &)>;

/// Draws the rows of a log that are on screen.
struct LogPainter {
    const LogBuffer &log;
    const ConsoleFont &font;
    const QPalette &palette;
    QPalette::ColorGroup group = QPalette::Active;
    LogSpan selection;
    bool selectionIsHit = false;  ///< the selection is what the search stands at
    std::optional<LogPosition> caret;
    const HitsOfRow &hits;

    /// `left` is where rows begin and `width` how wide a full one is. Rows whose element is gone are left
    /// out.
    void paint(QPainter &painter, const std::vector<LogViewport::VisibleRow> &rows, qreal left,
               qreal width) const;

  private:
    /// What is selected past the end of a row's text is shown as the rest of the row, and the gap after an
    /// element with it.
    void fillBeyond(QPainter &painter, const LogViewport::VisibleRow &visible, qreal textWidth, qreal left,
                    qreal width, const QColor &color) const;
    void fill(QPainter &painter, const LogViewport::VisibleRow &visible, const class LogRowText &text,
              LogSpan span, qreal left, const QColor &color) const;
};

}  // namespace ferrolt

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

class LogRowText;

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
    qreal left = 0;   ///< where rows begin
    qreal width = 0;  ///< of a full row

    /// Rows whose element is gone are left out.
    void paint(QPainter &painter, const std::vector<LogViewport::VisibleRow> &rows) const;

  private:
    void fill(QPainter &painter, const LogViewport::VisibleRow &visible, const LogRowText &text, LogSpan span,
              const QColor &color) const;
    /// What is selected past the end of a row's text is shown as the rest of the row, and the gap after an
    /// element with it.
    void fillBeyond(QPainter &painter, const LogViewport::VisibleRow &visible, qreal textWidth,
                    const QColor &color) const;
    void drawCaret(QPainter &painter, const LogViewport::VisibleRow &visible, const LogRowText &text,
                   const QColor &color) const;
};

}  // namespace ferrolt

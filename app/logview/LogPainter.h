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

/// The hits of a search that overlap a row.
using HitsOfRow = std::function<std::vector<LogSpan>(const LogRow &)>;

/// Draws the rows of a log that are on screen.
struct LogPainter {
    const LogBuffer &log;
    const ConsoleFont &font;
    const QPalette &palette;
    QPalette::ColorGroup group = QPalette::Active;
    LogSpan selection;
    bool selectionIsHit = false;  ///< the selection is the current hit of a search
    std::optional<LogPosition> caret;
    const HitsOfRow &hits;
    qreal left = 0;   ///< of all rows
    qreal width = 0;  ///< of a full row

    /// Rows whose element the log has dropped are left out.
    void paint(QPainter &painter, const std::vector<LogViewport::VisibleRow> &rows) const;

  private:
    void fill(QPainter &painter, const LogViewport::VisibleRow &visible, const LogRowText &text, LogSpan span,
              const QColor &color) const;
    /// Fills the rest of a row whose line break is selected, and the gap below it if the element ends there.
    void fillBeyond(QPainter &painter, const LogViewport::VisibleRow &visible, qreal textWidth,
                    const QColor &color) const;
    void drawCaret(QPainter &painter, const LogViewport::VisibleRow &visible, const LogRowText &text,
                   const QColor &color) const;
};

}  // namespace ferrolt

#pragma once

#include "LogLayout.h"
#include "LogSelection.h"
#include "LogViewport.h"
#include "RowMetrics.h"

#include <optional>

namespace ferrolt {

/// Moves the caret of a selection through a log by characters, words, rows and pages, as keys ask for it.
/// Moving up or down keeps to the column in which the first of these moves began.
class LogCaret {
  public:
    enum class Step { Character, Word, Row, Page, RowEdge, LogEdge };
    /// Whether a move drops the selection or extends it.
    enum class Mode { Move, Extend };
    struct Move {
        Step step;
        Direction direction;
        Mode mode;
    };

    /// All must outlive the caret.
    LogCaret(LogLayout &layout, LogViewport &view, LogSelection &selection, const RowMetrics &metrics)
        : log(layout.buffer()), layout(layout), view(view), selection(selection), metrics(metrics) {}

    /// Shows the caret and moves it. With nothing selected and the caret off screen, it starts from the edge
    /// of the screen. The layout must be current and not empty.
    void move(Move move);

    /// Whether the caret is to be drawn: it is once it was moved, until hide().
    bool isShown() const { return shown; }
    /// To be called when the mouse sets the caret.
    void hide();

  private:
    void startOnScreen(Direction direction);
    LogPosition positionAfter(LogPosition from, Step step, Direction direction);
    LogPosition rowsAway(LogPosition from, int distance, Direction direction);

    const LogBuffer &log;
    LogLayout &layout;
    LogViewport &view;
    LogSelection &selection;
    const RowMetrics &metrics;
    bool shown = false;
    std::optional<qreal> column;  ///< of moves up and down, in logical pixels
};

}  // namespace ferrolt

#pragma once

#include "LogLayout.h"

#include <QtGlobal>

#include <cstdint>
#include <optional>
#include <vector>

namespace ferrolt {

/// The window through which a log is seen: which part of the layout is on screen. Knows no widget.
///
/// The place is kept as an element and a distance from its top, so it does not move when heights above it
/// turn out to be other than was estimated. What happens when the log changes depends on how the place was
/// reached:
///
///   at an offset   how a view begins and where following the newest entry leaves it. The distance from
///                  the top of the text stays; with the log at its cap, entries pass by under it as old
///                  ones drop off the top.
///   on the text    somebody scrolled up, or selects: the text on screen stays where it is, until it
///                  drops off.
///
/// Neither is a scroll: nothing but scrollTo() brings other entries on screen on purpose.
class LogViewport {
  public:
    enum class Hold { Offset, Text };

    /// A row on screen; `y` is its top, from the top of the viewport.
    struct VisibleRow {
        LogRow row;
        int y = 0;
        friend bool operator==(const VisibleRow &, const VisibleRow &) = default;
    };

    /// `layout` must outlive the viewport.
    explicit LogViewport(LogLayout &layout) : layout(layout) {}

    /// The top of the viewport in the layout, from 0 to maximum().
    qint64 offset() const;
    qint64 maximum() const { return std::max<qint64>(layout.height() - height, 0); }
    /// The offset that has the marker row at the bottom edge.
    qint64 followOffset() const;
    /// Whether the marker row is on screen.
    bool showsEnd() const { return offset() >= followOffset(); }

    void scrollTo(qint64 offset);
    /// Scrolls as little as brings this row on screen whole.
    void reveal(const LogRow &row);

    int viewHeight() const { return height; }
    /// A view that was scrolled to the end stays there when it is resized; any other keeps its topmost text.
    void setHeight(int pixels);
    void setGrid(int columns, int rowHeight);

    /// Takes over what the log holds now, and counts the rows of its newest elements, up to this many bytes.
    void sync(Hold hold, std::size_t bytesToCount);

    /// Counts the rows of what is on screen, until its heights are exact. A view at the end stays there.
    void settle();
    /// Counts rows that are not on screen; the rows on screen stay where they are, or at the end.
    void measureBytes(std::size_t bytes);
    void measureFor(std::chrono::nanoseconds time);

    /// The rows on screen, from top to bottom; settles first.
    std::vector<VisibleRow> visibleRows();
    /// Where a row stands, from the top of the viewport; may lie outside of it.
    qint64 yOf(const LogRow &row);
    /// The row at `y`, from the top of the viewport; the nearest one for a `y` between rows or beyond the
    /// text. None when the log is empty.
    std::optional<LogRow> rowAt(qint64 y);

  private:
    void anchorAt(qint64 offset);
    template <class Change>
    void keepingEnd(Change change);

    LogLayout &layout;
    int height = 0;
    std::uint64_t anchor = 0;  ///< the element at the top edge
    qint64 distance = 0;       ///< of the top edge from that element's top
};

}  // namespace ferrolt

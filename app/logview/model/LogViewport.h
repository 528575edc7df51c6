#pragma once

#include "LogLayout.h"

#include <QtGlobal>

#include <cstdint>
#include <optional>
#include <vector>

namespace ferrolt {

/// Which part of a layout is on screen.
///
/// The place is kept as an element and a distance from its top, so it does not move when counting rows
/// changes the heights above it. When the log changes, one of two things is kept:
///
///   the offset     from the top of the text. A view begins so, and so following the newest entry leaves it:
///                  with the log full, entries pass through the view as old ones are dropped at the top.
///   the text       on screen, until it is dropped: the user has scrolled up, or selects.
///
/// Only scrollTo() and reveal() scroll.
class LogViewport {
  public:
    enum class Hold { Offset, Text };

    /// A row on screen; `y` is its top, from the top of the viewport.
    struct VisibleRow {
        LogRow row;
        int y = 0;
        friend bool operator==(const VisibleRow &, const VisibleRow &) = default;
    };

    /// `layout` must outlive the viewport. Elements that the layout does not know yet are not on screen: call
    /// sync() after the log has changed.
    explicit LogViewport(LogLayout &layout) : layout(layout) {}

    /// The top of the viewport in the layout, from 0 to maximum().
    qint64 offset() const;
    qint64 maximum() const { return std::max<qint64>(layout.height() - height, 0); }
    /// The offset at which the marker row is at the bottom edge.
    qint64 followOffset() const;
    /// Whether the marker row is on screen.
    bool showsEnd() const { return offset() >= followOffset(); }

    void scrollTo(qint64 offset);
    /// Scrolls by the least distance that brings the whole row on screen. The layout must be current.
    void reveal(const LogRow &row);

    int viewHeight() const { return height; }
    /// A view at the end stays there when it is resized; any other keeps its topmost text.
    void setHeight(int pixels);
    void setGrid(int columns, int rowHeight);

    /// Follows the log after a change, and counts the rows of its newest elements, up to this many bytes.
    void sync(Hold hold, std::size_t bytesToCount);

    /// Counts the rows of the elements on screen, until their heights are exact. A view at the end stays
    /// there.
    void settle();
    /// Count rows that are not on screen. The rows on screen stay where they are; a view at the end stays
    /// there.
    void measureBytes(std::size_t maxBytes);
    void measureFor(std::chrono::nanoseconds maxTime);

    /// The rows on screen, from top to bottom. Settles first.
    std::vector<VisibleRow> visibleRows();
    /// The top of a row, from the top of the viewport; it may be off screen. The layout must be current.
    qint64 yOf(const LogRow &row);
    /// The row at `y`, from the top of the viewport; the nearest one for a `y` between rows or beyond the
    /// text. None if the log is empty or the layout not current.
    std::optional<LogRow> rowAt(qint64 y);

  private:
    void anchorAt(qint64 offset);
    template <class Change>
    void keepingEnd(Change change);

    LogLayout &layout;
    int height = 0;
    std::uint64_t anchor = 0;  ///< the element at the top edge
    qint64 distance = 0;       ///< from that element's top to the top edge
};

}  // namespace ferrolt

#pragma once

#include "Clipboard.h"
#include "ConsoleFont.h"
#include "LogCaret.h"
#include "LogFollower.h"
#include "LogGeometry.h"
#include "LogPainter.h"
#include "LogSelection.h"
#include "LogViewport.h"

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QElapsedTimer>
#include <QMenu>
#include <QPointer>

#include <functional>
#include <optional>
#include <vector>

namespace ferrolt {

class LogDrag;

/// A log as a scrolling text that can be selected but not changed. Draws only the rows on screen. Reads the
/// log at most at every fourth screen refresh, and not at all while it is not on screen.
///
/// In a window from right to left the scroll bar is at the left, and the text stays at the left edge, as in
/// terminals: programs write columns, and indent, for a reader who begins there.
///
/// Follows the newest entry with an animated scroll (see LogFollower), but does not scroll when it first
/// appears. Changes that came while it was not on screen are caught up with at once, without an animation.
///
/// The caret moves with the arrow keys and is drawn once they are used. Page Up, Page Down, Home and End
/// scroll and leave caret and selection alone; with Shift they extend the selection as the arrows do.
///
/// Main thread.
class LogTextArea : public QAbstractScrollArea {
    Q_OBJECT

  public:
    /// `log` and `clipboard` must outlive the area. `bottomId` names the marker after the last entry.
    LogTextArea(const LogBuffer &log, const QString &bottomId, Clipboard &clipboard,
                QWidget *parent = nullptr);

    /// To be called when the log has changed or is about to: the area reads the log later, from the event
    /// loop.
    void logChanged();

    const LogBuffer &buffer() const { return log; }
    /// Whether an animated scroll to the newest entry is under way.
    bool isFollowing() const { return follower.isMoving(); }
    /// Whether the last row of the newest entry is on screen, if only in part, or an animated scroll brings
    /// it there. As of the last look at the log.
    bool showsNewest() const { return newestIsShown; }
    const LogSelection &selection() const { return selected; }
    bool hasSelection() const { return !selected.isEmpty(); }
    /// Selects a part of the log. If its beginning is not on screen, scrolls it to the middle.
    void select(LogSpan span);
    void moveCaret(LogPosition position);

    /// What a search found is marked.
    void setHits(HitsOfRow hitsOfRow);
    /// Whether the selection is the current hit of a search, which has a colour of its own.
    void setSelectionIsHit(bool isHit);

    // Points and rectangles are the viewport's, in logical pixels.
    /// The beginning of the topmost row on screen; none in an empty log.
    std::optional<LogPosition> topOfView();
    /// The nearest position to a point; none in an empty log.
    std::optional<LogPosition> positionAt(QPointF point);
    /// The box of the character at a position, which may be off screen.
    QRectF rectangleOf(LogPosition position);
    void reveal(LogPosition position);
    /// The text of the row that holds a position, with its line break. The log must not be empty.
    LogSpan spanOfRow(LogPosition position);

    /// The menu that a right click and the menu key open. Not owned.
    void setContextMenu(QMenu *menu) { contextMenu = menu; }

    QSize sizeHint() const override { return {480, 240}; }

  public Q_SLOTS:
    /// Copies the selected text as it is stored, with nothing between elements.
    void copy();
    void selectAll();
    void scrollToNewest();

  Q_SIGNALS:
    /// The area has read the changed log.
    void refreshed();
    void showsNewestChanged();
    void selectionChanged();
    void caretMoved();

  protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void changeEvent(QEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

  private:
    bool isOnScreen() const;
    bool canAnimate() const;
    void scheduleRefresh();
    void refreshWhenSeen();
    void refresh(LogFollower::Movement movement);
    /// Brings layout and selection up to date with the log; to be called before anything that reads them.
    void syncLayout();
    void updateGrid();
    void countRowsWhenQuiet();
    void showView();
    void stopFollowing();
    void updateNewest();
    void updateScrollBar();
    void scrollByUser(qint64 offset);

    void selectBy(const std::function<void()> &change);
    void selectTo(QPointF point);
    void offerSelection();
    bool scrollByKey(const QKeyEvent &event);
    bool moveByKey(const QKeyEvent &event);

    const LogBuffer &log;
    Clipboard &clipboard;
    LogLayout layout;
    LogViewport view;
    LogSelection selected;
    ConsoleFont font;
    LogGeometry geometry;
    LogCaret caret;
    LogFollower follower;
    LogDrag *const drag;
    std::vector<LogViewport::VisibleRow> rows;  ///< on screen
    QWidget *const marker;
    QPointer<QMenu> contextMenu;
    /// Pixels for each step of the scroll bar, which counts in int: too little for a huge log.
    qint64 barUnit = 1;
    bool isUpdatingBar = false;  ///< the scroll bar's changes are ours, not the user's
    HitsOfRow hits;
    bool selectionIsHit = false;
    bool newestIsShown = true;

    bool wasShown = false;
    bool changedUnseen = false;  ///< and so the viewport is marked to be painted
    QBasicTimer refreshTimer;
    QElapsedTimer sinceRefresh;
    QBasicTimer countTimer;
};

}  // namespace ferrolt

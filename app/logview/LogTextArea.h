#pragma once

#include "Clipboard.h"
#include "ConsoleFont.h"
#include "FocusRing.h"
#include "LogPainter.h"
#include "LogSelection.h"
#include "LogViewport.h"

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QElapsedTimer>
#include <QVariantAnimation>

#include <optional>
#include <vector>

namespace ferrolt {

class LogScrollBar;

/// A log as a scrolling text that can be selected, never changed. Pulls the rows on screen from the layout
/// and draws nothing else; looks at the log at most at every fourth screen refresh, and not at all while
/// it is not on screen.
///
/// Follows the newest entry: when the number of entries is another than before, an animated scroll brings the
/// marker after the last entry to the bottom edge, wherever the reader had scrolled. A change that leaves the
/// number as it was, as when the log is at its cap, does not scroll; nor does the first appearance. What
/// changed while nobody could see it is caught up with at once, without a movement.
///
/// The caret moves with the arrow keys and shows once they are used. Page Up, Page Down, Home and End scroll
/// and leave caret and selection alone; with Shift they extend the selection like the arrows.
///
/// Main thread.
class LogTextArea : public QAbstractScrollArea {
    Q_OBJECT

  public:
    /// `log` and `clipboard` must outlive the area. `bottomId` names the marker.
    LogTextArea(const LogBuffer &log, const QString &bottomId, Clipboard &clipboard,
                QWidget *parent = nullptr);

    /// To be called whenever the log has changed or is about to: the area reads it later, from the event
    /// loop.
    void logChanged();

    const LogBuffer &buffer() const { return log; }
    /// Whether a movement to the newest entry is under way.
    bool isFollowing() const { return following.state() == QAbstractAnimation::Running; }
    const LogSelection &selection() const { return selected; }
    bool hasSelection() const { return !selected.isEmpty(); }
    /// Selects a part of the log and scrolls it into view, with some text around it if it was not.
    void select(LogSpan span);
    void moveCaret(LogPosition position);

    /// What a search has found is marked.
    void setHits(HitsOfRow hitsOfRow);
    /// Whether what is selected now is the hit that the search stands at, which has a mark of its own.
    void setSelectionIsHit(bool isHit);

    /// The beginning of the topmost row on screen; none in an empty log.
    std::optional<LogPosition> topOfView();
    /// The place nearest to a point of the viewport; none in an empty log.
    std::optional<LogPosition> positionAt(QPointF point);
    /// Where the character at a place stands in the viewport, be it on screen or not.
    QRectF rectangleOf(LogPosition position);
    void reveal(LogPosition position);
    /// The text of the row that holds a place, its line break included. The log must not be empty.
    LogSpan rowAt(LogPosition position);

    QSize sizeHint() const override { return {480, 240}; }

  public Q_SLOTS:
    /// Copies what is selected, joined as it is stored.
    void copy();
    void selectAll();

  Q_SIGNALS:
    /// The area has taken over what the log holds now.
    void refreshed();
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
    enum class CatchUp { Moving, AtOnce };
    enum class Step { Character, Word, Row, Page, RowEdge, LogEdge };
    enum class Direction { Back, Forth };

    bool isOnScreen() const;
    void scheduleRefresh();
    void refreshWhenSeen();
    void refresh(CatchUp how);
    /// The layout knows the log's elements after this; to be called before anything that looks at them.
    void syncLayout();
    void updateGrid();
    void showView();
    void updateScrollBar();
    void scrollByUser(qint64 offset);
    void startFollowing();
    void stopFollowing();
    void follow(qreal progress);
    void jumpToEnd();
    LogViewport::Hold holdNow() const;

    void selectBy(const std::function<void()> &change);
    void dragTo(QPointF point);
    void endDrag();
    void offerSelection();
    bool scrollByKey(const QKeyEvent &event);
    bool moveByKey(const QKeyEvent &event);
    void moveCaretBy(Step step, Direction direction, bool extend);
    LogPosition placeAfter(LogPosition from, Step step, Direction direction);
    void startCaretOnScreen(Direction direction);
    qreal textLeft() const { return LogLayout::padding; }
    qreal textWidth() const { return layout.columns() * font.cellWidth(); }

    const LogBuffer &log;
    Clipboard &clipboard;
    LogLayout layout;
    LogViewport view;
    LogSelection selected;
    ConsoleFont font;
    std::vector<LogViewport::VisibleRow> rows;  ///< on screen
    QWidget *const marker;
    LogScrollBar *const bar;
    HitsOfRow hits;
    bool selectionIsHit = false;

    bool wasShown = false;
    std::size_t followedCount = 0;  ///< the number of elements that the view has followed
    bool changedUnseen = false;     ///< and so the viewport is marked to be painted
    QBasicTimer refreshTimer;
    QElapsedTimer sinceRefresh;
    QBasicTimer refineTimer;

    LogViewport::Hold hold = LogViewport::Hold::Offset;
    QVariantAnimation following;
    qint64 followDistance = 0;
    qint64 barUnit =
        1;  ///< pixels for each step of the scroll bar, whose numbers are too small for a huge log

    bool dragging = false;
    QPointF dragPoint;
    QBasicTimer dragTimer;
    QElapsedTimer sinceDoubleClick;
    QPointF doubleClickPoint;
    bool caretShown = false;
    std::optional<qreal> caretColumn;  ///< that a move up or down keeps to
    FocusRing focusRing;
};

}  // namespace ferrolt

// The mouse in LogTextArea.

#include "LogTextArea.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QStyleHints>

#include <algorithm>
#include <utility>

namespace ferrolt {
namespace {

constexpr int dragScrollMilliseconds = 30;

}  // namespace

void LogTextArea::mousePressEvent(QMouseEvent *event) {
    const std::optional<LogPosition> place = positionAt(event->position());
    if (event->button() != Qt::LeftButton || !place) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    stopFollowing();
    caretShown = false;
    caretColumn.reset();
    const bool third =
        sinceDoubleClick.isValid() &&
        sinceDoubleClick.elapsed() < QGuiApplication::styleHints()->mouseDoubleClickInterval() &&
        (event->position() - doubleClickPoint).manhattanLength() < QApplication::startDragDistance();
    sinceDoubleClick.invalidate();
    dragging = true;
    dragPoint = event->position();
    selectBy([&] {
        if (third)
            selected.begin(*place, LogSelection::Unit::Line);
        else if (event->modifiers().testFlag(Qt::ShiftModifier))
            selected.extendTo(*place);
        else
            selected.begin(*place);
    });
    event->accept();
}

void LogTextArea::mouseDoubleClickEvent(QMouseEvent *event) {
    const std::optional<LogPosition> place = positionAt(event->position());
    if (event->button() != Qt::LeftButton || !place)
        return;
    sinceDoubleClick.start();
    doubleClickPoint = event->position();
    dragging = true;
    dragPoint = event->position();
    selectBy([&] { selected.begin(*place, LogSelection::Unit::Word); });
    event->accept();
}

void LogTextArea::mouseMoveEvent(QMouseEvent *event) {
    if (!dragging)
        return;
    if (!event->buttons().testFlag(Qt::LeftButton)) {
        endDrag();
        return;
    }
    dragPoint = event->position();
    dragTo(dragPoint);
    const bool beyond = dragPoint.y() < 0 || dragPoint.y() > viewport()->height();
    if (!beyond)
        dragTimer.stop();
    else if (!dragTimer.isActive())
        dragTimer.start(dragScrollMilliseconds, this);
}

void LogTextArea::dragTo(QPointF point) {
    const qreal bottom = std::max(viewport()->height() - 1.0, 0.0);
    const std::optional<LogPosition> place =
        positionAt(QPointF(point.x(), std::clamp(point.y(), 0.0, bottom)));
    if (place)
        selectBy([&] { selected.extendTo(*place); });
}

void LogTextArea::mouseReleaseEvent(QMouseEvent *event) {
    if (event->button() == Qt::LeftButton)
        endDrag();
}

void LogTextArea::endDrag() {
    dragTimer.stop();
    if (std::exchange(dragging, false))
        offerSelection();
}

void LogTextArea::contextMenuEvent(QContextMenuEvent *event) {
    syncLayout();
    auto *const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction *const copyAction = menu->addAction(tr("&Copy"), this, &LogTextArea::copy);
    copyAction->setShortcut(QKeySequence::Copy);
    copyAction->setEnabled(hasSelection());
    menu->addSeparator();
    QAction *const allAction = menu->addAction(tr("Select &All"), this, &LogTextArea::selectAll);
    allAction->setShortcut(QKeySequence::SelectAll);
    allAction->setEnabled(!log.isEmpty());
    for (QAction *action : {copyAction, allAction})
        action->setShortcutVisibleInContextMenu(true);
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    menu->popup(byKey ? viewport()->mapToGlobal(QPoint(LogLayout::padding, LogLayout::padding))
                      : event->globalPos());
}

}  // namespace ferrolt

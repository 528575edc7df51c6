#include "LogDrag.h"

#include "MainQueue.h"

#include <QGuiApplication>
#include <QStyleHints>
#include <QWidget>

#include <algorithm>
#include <utility>

namespace ferrolt {
namespace {

constexpr int scrollMilliseconds = 30;

}  // namespace

LogDrag::LogDrag(QWidget *viewport) : QObject(viewport), viewport(viewport) {
    assertMainThread();
}

LogSelection::Unit LogDrag::press(QPointF at) {
    const QStyleHints &hints = *QGuiApplication::styleHints();
    // Qt has an event for a double click only.
    const bool isThird = sinceDoubleClick.isValid() &&
                         sinceDoubleClick.elapsed() < hints.mouseDoubleClickInterval() &&
                         (at - doubleClickPoint).manhattanLength() < hints.startDragDistance();
    sinceDoubleClick.invalidate();
    begin(at);
    return isThird ? LogSelection::Unit::Line : LogSelection::Unit::Character;
}

void LogDrag::doubleClick(QPointF at) {
    sinceDoubleClick.start();
    doubleClickPoint = at;
    begin(at);
}

void LogDrag::begin(QPointF at) {
    active = true;
    point = at;
}

void LogDrag::moveTo(QPointF to) {
    if (!active)
        return;
    point = to;
    Q_EMIT moved(point);
    if (pixelsBeyond() == 0)
        scrollTimer.stop();
    else if (!scrollTimer.isActive())
        scrollTimer.start(scrollMilliseconds, this);
}

void LogDrag::end() {
    const bool wasActive = active;
    cancel();
    if (wasActive)
        Q_EMIT ended();
}

void LogDrag::cancel() {
    scrollTimer.stop();
    active = false;
}

qreal LogDrag::pixelsBeyond() const {
    return point.y() < 0 ? point.y() : std::max(point.y() - viewport->height(), 0.0);
}

void LogDrag::timerEvent(QTimerEvent *event) {
    if (event->timerId() != scrollTimer.timerId())
        return;
    // A menu, for instance, may have received the release.
    if (!QGuiApplication::mouseButtons().testFlag(Qt::LeftButton)) {
        end();
        return;
    }
    Q_EMIT scrollWanted(pixelsBeyond());
    Q_EMIT moved(point);
}

}  // namespace ferrolt

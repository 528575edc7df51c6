#pragma once

#include "LogSelection.h"

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QObject>
#include <QPointF>

class QWidget;

namespace ferrolt {

/// The mouse while it selects: counts clicks, and asks for scrolling while the pointer is held above or below
/// the viewport. Knows nothing of the text.
///
/// A drag begins with press() or doubleClick() and ends with end(), or by itself when the button was released
/// elsewhere; cancel() ends it without ended(). Points are the viewport's. Main thread.
class LogDrag : public QObject {
    Q_OBJECT

  public:
    /// `viewport` is the parent.
    explicit LogDrag(QWidget *viewport);

    /// What the press selects around the point: a line for the third press of a triple click, else a
    /// character.
    LogSelection::Unit press(QPointF at);
    void doubleClick(QPointF at);
    /// Does nothing unless a drag is under way.
    void moveTo(QPointF to);
    void end();
    void cancel();
    bool isActive() const { return active; }

  Q_SIGNALS:
    /// Every 30 ms while the pointer is that many logical pixels below the viewport; negative above it.
    void scrollWanted(qreal pixels);
    /// The pointer is, or the text under it has come, somewhere else.
    void moved(QPointF point);
    void ended();

  protected:
    void timerEvent(QTimerEvent *event) override;

  private:
    void begin(QPointF at);
    qreal pixelsBeyond() const;

    QWidget *const viewport;
    bool active = false;
    QPointF point;
    QBasicTimer scrollTimer;
    QElapsedTimer sinceDoubleClick;
    QPointF doubleClickPoint;
};

}  // namespace ferrolt

#include "ChangeFollower.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

#include <utility>

namespace ferrolt {

ChangeFollower::ChangeFollower(QWidget *view, std::function<void()> refresh)
    : QObject(view), view(view), refresh(std::move(refresh)) {
    Q_ASSERT(this->refresh);
    view->installEventFilter(this);
}

void ChangeFollower::changeAnnounced() {
    if (isRefreshPosted || !view->isVisible())
        return;
    isRefreshPosted = true;
    QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest));
}

bool ChangeFollower::event(QEvent *event) {
    if (event->type() != QEvent::UpdateRequest)
        return QObject::event(event);
    isRefreshPosted = false;
    if (view->isVisible())
        refresh();
    return true;
}

bool ChangeFollower::eventFilter(QObject *watched, QEvent *event) {
    if (watched == view && event->type() == QEvent::Show)
        refresh();
    return QObject::eventFilter(watched, event);
}

}  // namespace ferrolt

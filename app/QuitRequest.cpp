#include "QuitRequest.h"

#include "MainQueue.h"

#include <QCoreApplication>
#include <QEvent>

#include <utility>

namespace ferrolt {

QuitRequest::QuitRequest(std::function<void()> asked) : asked(std::move(asked)) {
    assertMainThread();
    qApp->installEventFilter(this);
}

bool QuitRequest::eventFilter(QObject *watched, QEvent *event) {
    if (watched == qApp && event->type() == QEvent::Quit)
        asked();
    return QObject::eventFilter(watched, event);
}

}  // namespace ferrolt

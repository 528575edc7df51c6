#include "NotifierHost.h"

#include "SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

namespace ferrolt {
namespace {

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString path = QStringLiteral("/StatusNotifierWatcher");

}  // namespace

void NotifierHost::watch() {
    auto bus = sessionBus();
    if (!bus) {
        QMetaObject::invokeMethod(
            this, [this] { take(false); }, Qt::QueuedConnection);
        return;
    }
    watcher = new QDBusServiceWatcher(service, *bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &NotifierHost::ask);
    // From whatever sender, since the question is asked anew: Qt 6.4 does not always recognise a service's
    // signals that was not there at first.
    bus->connect(QString(), path, service, QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(ask()));
    ask();
}

void NotifierHost::ask() {
    QDBusMessage question = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << service << QStringLiteral("IsStatusNotifierHostRegistered");
    question.setAutoStartService(false);  // a desktop that has no tray is not made to have one
    auto *answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        answer->deleteLater();
        take(!reply.isError() && reply.value().variant().toBool());
    });
}

void NotifierHost::take(bool isThere) {
    const bool wasFirst = std::exchange(isFirstAnswer, false);
    if (isThere)
        Q_EMIT appeared();
    else if (wasFirst)
        Q_EMIT isAbsent();
}

}  // namespace ferrolt

#include "NotificationService.h"

#include "MainQueue.h"
#include "SessionBus.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QStringList>
#include <QVariantMap>

#include <utility>

namespace ferrolt {
namespace {

const QString notificationsService = QStringLiteral("org.freedesktop.Notifications");
const QString notificationsPath = QStringLiteral("/org/freedesktop/Notifications");
const QString buttonAction = QStringLiteral("button");
const QString pressSignal = QStringLiteral("ActionInvoked");
const QString closeSignal = QStringLiteral("NotificationClosed");

QDBusMessage callOf(const QString &method) {
    return QDBusMessage::createMethodCall(notificationsService, notificationsPath, notificationsService,
                                          method);
}

}  // namespace

NotificationService::~NotificationService() {
    if (buttons.isEmpty())
        return;
    auto bus = sessionBus();
    for (auto button = buttons.cbegin(); bus && button != buttons.cend(); ++button) {
        QDBusMessage request = callOf(QStringLiteral("CloseNotification"));
        request.setAutoStartService(false);
        request << button.key();
        bus->send(request);
    }
}

void NotificationService::show(const Notification &notification, std::function<void()> shown,
                               std::function<void()> pressed) {
    assertMainThread();
    auto bus = sessionBus();
    if (!bus)
        return;
    const bool hasButton = !notification.button.isEmpty();
    const QString program = QGuiApplication::desktopFileName();
    QDBusMessage request = callOf(QStringLiteral("Notify"));
    request << QGuiApplication::applicationDisplayName() << 0U /* replaces none */ << program /* icon */
            << notification.title << notification.body
            << (hasButton ? QStringList{buttonAction, notification.button} : QStringList())
            << QVariantMap{{QStringLiteral("desktop-entry"), program}} << -1 /* the desktop's own duration */;
    if (hasButton)
        listen();  // before the call: the answer and the press may come together
    auto *call = new QDBusPendingCallWatcher(bus->asyncCall(request), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [this, call, hasButton, shown = std::move(shown), pressed = std::move(pressed)] {
                const QDBusPendingReply<uint> reply = *call;
                call->deleteLater();
                if (reply.isError()) {
                    if (hasButton)
                        stopListening();
                    return;
                }
                if (hasButton)
                    buttons.insert(reply.value(), {reply.reply().service(), pressed});
                shown();
            });
}

void NotificationService::listen() {
    if (listeners++ > 0)
        return;
    // No sender is named: Qt 6.4 drops signals of a named service that started after the connect().
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(QString(), notificationsPath, notificationsService, pressSignal, this,
                SLOT(actionInvoked(uint, QString, QDBusMessage)));
    bus.connect(QString(), notificationsPath, notificationsService, closeSignal, this,
                SLOT(notificationClosed(uint, uint, QDBusMessage)));
}

void NotificationService::stopListening() {
    if (--listeners > 0)
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.disconnect(QString(), notificationsPath, notificationsService, pressSignal, this,
                   SLOT(actionInvoked(uint, QString, QDBusMessage)));
    bus.disconnect(QString(), notificationsPath, notificationsService, closeSignal, this,
                   SLOT(notificationClosed(uint, uint, QDBusMessage)));
}

std::function<void()> NotificationService::take(uint id, const QDBusMessage &signal) {
    const auto found = buttons.constFind(id);
    if (found == buttons.cend() || found->sender != signal.service())
        return nullptr;
    std::function<void()> pressed = found->pressed;
    buttons.erase(found);
    stopListening();
    return pressed;
}

void NotificationService::actionInvoked(uint id, const QString &action, const QDBusMessage &signal) {
    if (action != buttonAction)
        return;
    if (const auto pressed = take(id, signal))
        pressed();
}

void NotificationService::notificationClosed(uint id, uint, const QDBusMessage &signal) {
    take(id, signal);
}

std::unique_ptr<DesktopNotifications> DesktopNotifications::ofDesktop() {
    return std::make_unique<NotificationService>();
}

}  // namespace ferrolt

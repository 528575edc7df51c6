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

QDBusMessage callOf(const QString &method) {
    return QDBusMessage::createMethodCall(notificationsService, notificationsPath, notificationsService,
                                          method);
}

/// Connects or disconnects a signal. No sender is named: Qt 6.4 drops signals of a named service that started
/// after the connect().
template <class Change>
void changeSignals(Change change) {
    change(QStringLiteral("ActionInvoked"), SLOT(actionInvoked(uint, QString, QDBusMessage)));
    change(QStringLiteral("NotificationClosed"), SLOT(notificationClosed(uint, uint, QDBusMessage)));
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
    auto *call = new QDBusPendingCallWatcher(bus->asyncCall(request), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [this, call, hasButton, shown = std::move(shown), pressed = std::move(pressed)] {
                const QDBusPendingReply<uint> reply = *call;
                call->deleteLater();
                if (reply.isError())
                    return;
                if (hasButton)
                    add(reply.value(), {reply.reply().service(), pressed});
                shown();
            });
}

void NotificationService::add(uint id, Button button) {
    if (buttons.isEmpty())
        changeSignals([this](const QString &name, const char *slot) {
            QDBusConnection::sessionBus().connect(QString(), notificationsPath, notificationsService, name,
                                                  this, slot);
        });
    buttons.insert(id, std::move(button));
}

NotificationService::Button NotificationService::take(uint id, const QDBusMessage &signal) {
    const auto found = buttons.constFind(id);
    if (found == buttons.cend() || found->sender != signal.service())
        return {};
    Button button = *found;
    buttons.erase(found);
    if (buttons.isEmpty())
        changeSignals([this](const QString &name, const char *slot) {
            QDBusConnection::sessionBus().disconnect(QString(), notificationsPath, notificationsService, name,
                                                     this, slot);
        });
    return button;
}

void NotificationService::actionInvoked(uint id, const QString &action, const QDBusMessage &signal) {
    if (action != buttonAction)
        return;
    if (const Button button = take(id, signal); button.pressed)
        button.pressed();
}

void NotificationService::notificationClosed(uint id, uint, const QDBusMessage &signal) {
    take(id, signal);
}

std::unique_ptr<DesktopNotifications> DesktopNotifications::ofDesktop() {
    return std::make_unique<NotificationService>();
}

}  // namespace ferrolt

#pragma once

#include "DesktopNotifications.h"

#include <QDBusMessage>
#include <QHash>
#include <QObject>
#include <QString>

#include <functional>

namespace ferrolt {

/// Notifications by the service org.freedesktop.Notifications on the session bus (freedesktop.org's Desktop
/// Notifications 1.2). The service is not trusted: it may be slow, hang, answer wrongly or emit many signals.
/// Signals are received only while a notification with a button is on screen. Main thread.
class NotificationService : public QObject, public DesktopNotifications {
    Q_OBJECT

  public:
    ~NotificationService() override;

    void show(const Notification &notification, std::function<void()> shown,
              std::function<void()> pressed) override;

  private Q_SLOTS:
    void actionInvoked(uint id, const QString &action, const QDBusMessage &signal);
    void notificationClosed(uint id, uint reason, const QDBusMessage &signal);

  private:
    struct Button {
        QString sender;  ///< the connection that has shown it; no other may press it
        std::function<void()> pressed;
    };

    /// One call of each for every notification with a button.
    void listen();
    void stopListening();
    /// Removes the button with that number and returns what pressing it does; null if `signal` has another
    /// sender.
    std::function<void()> take(uint id, const QDBusMessage &signal);

    QHash<uint, Button> buttons;  ///< on screen, by the notification's number
    int listeners = 0;            ///< notifications with a button that are on screen or asked for
};

}  // namespace ferrolt

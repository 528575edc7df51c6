#include "DesktopTray.h"

#include "MainQueue.h"
#include "SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>

#include <utility>

namespace ferrolt {
namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

}  // namespace

/// Watches the session bus for a host of tray items (freedesktop.org's StatusNotifierItem: the property
/// IsStatusNotifierHostRegistered of org.kde.StatusNotifierWatcher).
///
/// Qt 6.4 looks for a host only once, when the first QSystemTrayIcon is made. Without a host at that moment
/// it uses the older X11 protocol until the program ends, and a host that starts later shows no item. So the
/// icon must not be made before the host is there.
class NotifierHostWatch final : public QObject, public DesktopTray {
    Q_OBJECT

  public:
    explicit NotifierHostWatch(std::function<void()> callback) : appeared(std::move(callback)) {
        auto bus = sessionBus();
        if (!bus)
            return;
        auto *watcher =
            new QDBusServiceWatcher(watcherService, *bus, QDBusServiceWatcher::WatchForRegistration, this);
        connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &NotifierHostWatch::ask);
        // No sender is named: Qt 6.4 drops signals of a named service that started after the connect(). The
        // signal's own content is not used.
        bus->connect(QString(), watcherPath, watcherService, QStringLiteral("StatusNotifierHostRegistered"),
                     this, SLOT(ask()));
        ask();
    }

  private Q_SLOTS:
    void ask() {
        QDBusMessage request = QDBusMessage::createMethodCall(
            watcherService, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("Get"));
        request << watcherService << QStringLiteral("IsStatusNotifierHostRegistered");
        request.setAutoStartService(false);  // a desktop without a tray must not be made to start one
        auto *call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(request), this);
        connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
            const QDBusPendingReply<QDBusVariant> reply = *call;
            call->deleteLater();
            if (!reply.isError() && reply.value().variant().toBool())
                tell();
        });
    }

  private:
    /// Once. Qt's tray icon follows later changes of the host itself.
    void tell() {
        if (const auto call = std::exchange(appeared, nullptr))
            call();
    }

    std::function<void()> appeared;
};

std::unique_ptr<DesktopTray> DesktopTray::watch(std::function<void()> appeared) {
    assertMainThread();
    return std::make_unique<NotifierHostWatch>(std::move(appeared));
}

}  // namespace ferrolt

#include "DesktopTray.moc"

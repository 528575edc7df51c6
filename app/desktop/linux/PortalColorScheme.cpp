#include "PortalColorScheme.h"

#include "MainQueue.h"
#include "SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

namespace ferrolt {
namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");

}  // namespace

void PortalColorScheme::watch() {
    assertMainThread();
    Q_ASSERT(portalWatcher == nullptr);
    auto bus = sessionBus();
    if (!bus)
        return;
    // No sender is named: Qt 6.4 drops signals of a named service that started after the connect(). The
    // signal's value is not used; read() asks the portal.
    bus->connect(QString(), path, interface, QStringLiteral("SettingChanged"), this,
                 SLOT(settingChanged(QString, QString)));
    // A portal that starts later, or again, may have a different value.
    portalWatcher = new QDBusServiceWatcher(service, *bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(portalWatcher, &QDBusServiceWatcher::serviceRegistered, this, &PortalColorScheme::read);
    read();
}

void PortalColorScheme::read() {
    QDBusMessage request = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    request << appearance << colorScheme;
    auto *call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(request), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        const QDBusPendingReply<QDBusVariant> reply = *call;
        call->deleteLater();
        if (!reply.isError())
            take(QVariant::fromValue(reply.value()));
    });
}

void PortalColorScheme::settingChanged(const QString &space, const QString &key) {
    if (space == appearance && key == colorScheme)
        read();
}

void PortalColorScheme::take(QVariant value) {
    // Read() returns a variant inside a variant.
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    if (value.userType() != QMetaType::UInt)
        return;
    switch (value.toUInt()) {
        case 1:
            Q_EMIT preferenceChanged(Preference::Dark);
            break;
        case 2:
            Q_EMIT preferenceChanged(Preference::Light);
            break;
        default:  // 0, or a value of a later version of the portal
            Q_EMIT preferenceChanged(Preference::None);
            break;
    }
}

}  // namespace ferrolt

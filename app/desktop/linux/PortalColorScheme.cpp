#include "PortalColorScheme.h"

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
    if (portalWatcher)
        return;
    auto bus = sessionBus();
    if (!bus)
        return;
    // From whatever sender: Qt 6.4 does not always know by which unique name a service is to be recognised,
    // and drops its signals then. The value itself is read from the portal.
    bus->connect(QString(), path, interface, QStringLiteral("SettingChanged"), this,
                 SLOT(settingChanged(QString, QString)));
    // A portal that starts later, or again, may have another value.
    portalWatcher = new QDBusServiceWatcher(service, *bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(portalWatcher, &QDBusServiceWatcher::serviceRegistered, this, &PortalColorScheme::read);
    read();
}

void PortalColorScheme::read() {
    QDBusMessage question = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    question << appearance << colorScheme;
    auto *answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        answer->deleteLater();
        if (!reply.isError())
            take(QVariant::fromValue(reply.value()));
    });
}

void PortalColorScheme::settingChanged(const QString &space, const QString &key) {
    if (space == appearance && key == colorScheme)
        read();
}

void PortalColorScheme::take(QVariant value) {
    // The answer is a variant inside the variant that every value comes in.
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
        default:  // 0 and whatever a later version of the portal may add
            Q_EMIT preferenceChanged(Preference::None);
            break;
    }
}

}  // namespace ferrolt

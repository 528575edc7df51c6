#include "PortalAppearance.h"

#include "MainQueue.h"
#include "SessionBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <algorithm>
#include <chrono>

namespace ferrolt {
namespace {

using namespace std::chrono_literals;

constexpr auto minPause = 100ms;

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
// Reduced motion on portals that do not have the common setting yet.
const QString gnome = QStringLiteral("org.gnome.desktop.interface");
const QString kde = QStringLiteral("org.kde.kdeglobals.KDE");

/// A colour in sRGB. Values beyond 0 to 1 stand for no colour, and so does any other type.
std::optional<QColor> colorOf(const QVariant &value) {
    if (value.userType() != qMetaTypeId<QDBusArgument>())
        return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QStringLiteral("(ddd)"))
        return std::nullopt;
    double red = -1;
    double green = -1;
    double blue = -1;
    argument.beginStructure();
    argument >> red >> green >> blue;
    argument.endStructure();
    for (const double channel : {red, green, blue})
        if (!(channel >= 0 && channel <= 1))  // NaN, too
            return std::nullopt;
    return QColor::fromRgbF(static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue));
}

}  // namespace

PortalAppearance::PortalAppearance()
    : settings({{Key::ColorScheme, appearance, QStringLiteral("color-scheme")},
                {Key::Contrast, appearance, QStringLiteral("contrast")},
                {Key::AccentColor, appearance, QStringLiteral("accent-color")},
                {Key::ReducedMotion, appearance, QStringLiteral("reduced-motion")},
                {Key::GnomeAnimations, gnome, QStringLiteral("enable-animations")},
                {Key::KdeAnimations, kde, QStringLiteral("AnimationDurationFactor")}}) {
    pause.setSingleShot(true);
    pause.setInterval(minPause);
    connect(&pause, &QTimer::timeout, this, &PortalAppearance::readStale);
}

void PortalAppearance::watch() {
    assertMainThread();
    Q_ASSERT(portalWatcher == nullptr);
    auto bus = sessionBus();
    if (!bus)
        return;
    // No sender is named: Qt 6.4 drops signals of a named service that started after the connect(). The
    // signal's value is not used; read() asks the portal. The namespace is part of the bus's match rule, so
    // that the other settings of a desktop do not wake the program.
    for (const QString &space : {appearance, gnome, kde})
        bus->connect(QString(), path, interface, QStringLiteral("SettingChanged"), {space}, QString(), this,
                     SLOT(settingChanged(QString, QString)));
    // A portal that starts later, or again, may have different values.
    portalWatcher = new QDBusServiceWatcher(service, *bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(portalWatcher, &QDBusServiceWatcher::serviceRegistered, this, [this] {
        for (Setting &setting : settings)
            setting.isStale = true;
        readStale();
    });
    readStale();
}

void PortalAppearance::settingChanged(const QString &space, const QString &key) {
    for (Setting &setting : settings)
        if (setting.space == space && setting.name == key)
            setting.isStale = true;
    readStale();
}

void PortalAppearance::readStale() {
    if (pause.isActive())
        return;
    for (Setting &setting : settings) {
        if (setting.isStale && !setting.isAsked) {
            read(setting);
            pause.start();
        }
    }
}

/// Asks for one setting, not for all in one ReadAll(): with two backends, versions of the portal differ in
/// whose value that returns, and a backend that hangs holds back its own settings only.
void PortalAppearance::read(Setting &setting) {
    setting.isStale = false;
    setting.isAsked = true;
    QDBusMessage request = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    request << setting.space << setting.name;
    auto *call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(request), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, &setting] {
        const QDBusPendingReply<QDBusVariant> reply = *call;
        call->deleteLater();
        setting.isAsked = false;
        if (!reply.isError())
            take(setting, QVariant::fromValue(reply.value()));
        readStale();
    });
}

void PortalAppearance::take(Setting &setting, QVariant value) {
    // Read() returns a variant inside a variant.
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    const bool isNumber = value.userType() == QMetaType::UInt;
    switch (setting.key) {
        case Key::ColorScheme:
            if (isNumber)  // 0 is none, and so is a value of a later version of the portal
                preferred.scheme = value.toUInt() == 1   ? Scheme::Dark
                                   : value.toUInt() == 2 ? Scheme::Light
                                                         : Scheme::None;
            break;
        case Key::Contrast:
            if (isNumber)
                preferred.contrast = value.toUInt() == 1 ? Theme::Contrast::High : Theme::Contrast::Normal;
            break;
        case Key::AccentColor:
            preferred.accent = colorOf(value);
            break;
        case Key::ReducedMotion:
            if (isNumber)
                setting.stopsMotion = value.toUInt() == 1;
            break;
        case Key::GnomeAnimations:
            if (value.userType() == QMetaType::Bool)
                setting.stopsMotion = !value.toBool();
            break;
        case Key::KdeAnimations: {
            bool isFactor = false;  // KDE sends it as a text
            const double factor = value.toDouble(&isFactor);
            if (isFactor)
                setting.stopsMotion = factor == 0;
            break;
        }
    }
    preferred.motion =
        std::any_of(settings.begin(), settings.end(), [](const Setting &each) { return each.stopsMotion; })
            ? LauncherStyle::Motion::Reduced
            : LauncherStyle::Motion::Full;
    Q_EMIT preferencesRead();
}

}  // namespace ferrolt

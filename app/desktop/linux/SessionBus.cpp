#include "SessionBus.h"

#include <QFileInfo>
#include <QString>

namespace ferrolt {
namespace {

/// Connecting without a bus would make the D-Bus library start one of its own.
bool isRunning() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QString runtimeFolder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtimeFolder.isEmpty() && QFileInfo::exists(runtimeFolder + QStringLiteral("/bus"));
}

}  // namespace

std::optional<QDBusConnection> sessionBus() {
    if (!isRunning())
        return std::nullopt;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return std::nullopt;
    return bus;
}

}  // namespace ferrolt

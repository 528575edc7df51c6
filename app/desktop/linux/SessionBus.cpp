#include "SessionBus.h"

#include "MainQueue.h"

#include <QFileInfo>
#include <QString>

namespace ferrolt {
namespace {

/// Without this check libdbus would start a bus of its own.
bool isBusRunning() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QString runtimeFolder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtimeFolder.isEmpty() && QFileInfo::exists(runtimeFolder + QStringLiteral("/bus"));
}

}  // namespace

std::optional<QDBusConnection> sessionBus() {
    assertMainThread();
    if (!isBusRunning())
        return std::nullopt;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return std::nullopt;
    return bus;
}

}  // namespace ferrolt

#pragma once

#include <QDBusConnection>

#include <optional>

namespace ferrolt {

/// The connection to the desktop's session bus; nothing if no bus runs. Does not start a bus. Main thread.
std::optional<QDBusConnection> sessionBus();

}  // namespace ferrolt

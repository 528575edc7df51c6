#pragma once

#include <QDBusConnection>

#include <optional>

namespace ferrolt {

/// The desktop's session bus, connected, if there is one. Never starts one. Main thread.
std::optional<QDBusConnection> sessionBus();

}  // namespace ferrolt

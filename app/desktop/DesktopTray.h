#pragma once

#include <functional>
#include <memory>

namespace ferrolt {

/// Watches for a desktop panel that shows tray items. A panel may start long after the program has. Uses no
/// timer, so it costs nothing while the desktop is quiet. Main thread.
class DesktopTray {
  public:
    virtual ~DesktopTray() = default;

    /// Calls `appeared` once, from the event loop, when there is such a panel. Never calls it on macOS, where
    /// the Dock already reopens and quits the program. Needs the application object, and must be destroyed
    /// before it.
    static std::unique_ptr<DesktopTray> watch(std::function<void()> appeared);
};

}  // namespace ferrolt

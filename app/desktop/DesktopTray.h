#pragma once

#include <functional>
#include <memory>

namespace ferrolt {

/// Tells when the desktop has a place for tray items, which it may get long after the program has started.
/// Wakes up for what the desktop says and for nothing else. Main thread.
class DesktopTray {
  public:
    virtual ~DesktopTray() = default;

    /// Calls `appeared` from the event loop, once, when there is such a place. Never, on a desktop without,
    /// and where the platform has other ways to a program whose window is closed (macOS: the Dock). Needs
    /// the application object, and goes before it.
    static std::unique_ptr<DesktopTray> watch(std::function<void()> appeared);
};

}  // namespace ferrolt

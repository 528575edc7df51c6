#pragma once

#include <functional>

namespace ferrolt {

/// Where the desktop itself tells a running program that its user opens it once more: a click in the Dock.
/// Where that is a second start of the program instead, SingleInstance hears of it, and nothing comes here.
class DesktopReopen {
  public:
    /// To be made before the application object, which takes over whoever stands in its place.
    DesktopReopen();
    ~DesktopReopen();  // NOLINT(performance-trivially-destructible): that of macOS is not
    DesktopReopen(const DesktopReopen &) = delete;
    DesktopReopen &operator=(const DesktopReopen &) = delete;

    /// Whether the program has a window in sight; returns whether the desktop's own handling is to run as
    /// well.
    using Reopen = std::function<bool(bool hasVisibleWindows)>;

    /// From here on until it is destroyed `reopen` is called on the main thread.
    void listen(const Reopen &reopen);
};

}  // namespace ferrolt

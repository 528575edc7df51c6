#pragma once

#include <functional>

namespace ferrolt {

/// The desktop's own request to reopen a running program: on macOS, a click in the Dock. On Linux a second
/// start of the program is that request; SingleInstance receives it, and this class does nothing. Main
/// thread.
class DesktopReopen {
  public:
    /// To be created before the application object: Qt forwards events to an application delegate that is
    /// already set.
    DesktopReopen();
    ~DesktopReopen();  // NOLINT(performance-trivially-destructible): on macOS it is not trivial
    DesktopReopen(const DesktopReopen &) = delete;
    DesktopReopen &operator=(const DesktopReopen &) = delete;

    /// Returns whether the desktop's own reopen handling shall run too.
    using Reopen = std::function<bool(bool hasVisibleWindows)>;

    /// `reopen` is called on the main thread until this object is destroyed.
    void listen(const Reopen &reopen);
};

}  // namespace ferrolt

#pragma once

#include <memory>

namespace ferrolt {

/// Follows what the user prefers of the desktop's look: dark or light windows, contrast, the accent colour,
/// and whether things move by themselves. The application's palette is set only where Qt does not bring the
/// desktop's colours; a change reaches every widget as QEvent::PaletteChange. Main thread; must be destroyed
/// after the windows.
class DesktopAppearance {
  public:
    virtual ~DesktopAppearance() = default;

    /// Sets palette and motion now and whenever the preferences change; null where Qt does all of it. To be
    /// called once, after the style is installed and before the first window. Does not wait for the portal.
    static std::unique_ptr<DesktopAppearance> follow();
};

}  // namespace ferrolt

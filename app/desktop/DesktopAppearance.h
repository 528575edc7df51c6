#pragma once

#include <memory>

namespace ferrolt {

/// Sets the application's palette by the desktop's preference for dark or light windows, where Qt does not. A
/// desktop with colours of its own keeps them. A change reaches every widget as QEvent::PaletteChange. Main
/// thread; must be destroyed after the windows.
class DesktopAppearance {
  public:
    virtual ~DesktopAppearance() = default;

    /// Sets the palette now and whenever the preference changes; null where there is nothing to do. To be
    /// called once, after the application object is created and before the first window. Does not wait for
    /// the portal.
    static std::unique_ptr<DesktopAppearance> follow();
};

}  // namespace ferrolt

#pragma once

#include <memory>

namespace ferrolt {

/// Keeps the application's palette in step with the desktop's preference for dark or light windows, where the
/// platform does not do so by itself. A desktop that brings colours of its own keeps them. Every widget hears
/// of a change by QEvent::PaletteChange. Main thread; lives as long as the windows do.
class DesktopAppearance {
  public:
    virtual ~DesktopAppearance() = default;

    /// Sets the palette, and again whenever the preference changes. To be called once, after the application
    /// object was created and before the first window. Never waits for the desktop's answer.
    static std::unique_ptr<DesktopAppearance> follow();
};

}  // namespace ferrolt

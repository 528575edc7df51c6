#pragma once

#include <string>

class QWidget;

namespace ferrolt {

/// Raises a shown window above all others and gives it the keyboard focus, because the user asked for it
/// outside of the program: by a second start, or in the tray. `activationToken` is the xdg-activation token
/// that Wayland demands for that; may be empty. Main thread.
void bringToFront(QWidget &window, const std::string &activationToken);

}  // namespace ferrolt

#pragma once

#include <string>

class QWidget;

namespace ferrolt {

/// Raises a shown window above all others and gives it the keyboard focus, because the user asked for it
/// outside of the program: by a second start, or in the tray. `activationToken` is the xdg-activation token
/// that Wayland demands for that; may be empty. Main thread.
void bringToFront(QWidget &window, const std::string &activationToken);

/// Whether bringToFront() just hides the window and shows it again, as it must on Wayland: its user has not
/// closed it. To be asked in an event handler. Main thread.
bool isBeingShownAgain(const QWidget &window);

}  // namespace ferrolt

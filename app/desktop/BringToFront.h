#pragma once

#include <string>

class QWidget;

namespace ferrolt {

/// Brings a shown window before all others and gives it the keyboard, because the user asked for it outside
/// of the program: by starting it once more, or in the tray. `activationToken` is the desktop's permission
/// for that on Wayland; may be empty. Main thread.
void bringToFront(QWidget &window, const std::string &activationToken);

}  // namespace ferrolt

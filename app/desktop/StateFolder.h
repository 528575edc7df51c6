#pragma once

#include <QString>

namespace ferrolt {

/// The folder for state that is not a setting, such as a window's size, of the user who runs the program. May
/// not exist yet.
QString stateFolder();

}  // namespace ferrolt

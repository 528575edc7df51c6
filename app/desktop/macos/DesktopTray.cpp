#include "DesktopTray.h"

namespace ferrolt {

// The Dock already reopens the window and quits the program.
std::unique_ptr<DesktopTray> DesktopTray::watch(std::function<void()>) {
    return nullptr;
}

}  // namespace ferrolt

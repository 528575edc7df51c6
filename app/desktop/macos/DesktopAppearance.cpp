#include "DesktopAppearance.h"

namespace ferrolt {

// The system's own palette is followed by the platform plugin, live.
std::unique_ptr<DesktopAppearance> DesktopAppearance::follow() {
    return nullptr;
}

}  // namespace ferrolt

#include "DesktopAppearance.h"

namespace ferrolt {

// Qt's platform plugin follows the system's palette.
std::unique_ptr<DesktopAppearance> DesktopAppearance::follow() {
    return nullptr;
}

}  // namespace ferrolt

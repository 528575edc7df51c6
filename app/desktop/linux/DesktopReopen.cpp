#include "DesktopReopen.h"

namespace ferrolt {

// On Linux every reopen is a second start of the program.
DesktopReopen::DesktopReopen() = default;
DesktopReopen::~DesktopReopen() = default;
void DesktopReopen::listen(const Reopen &) {}

}  // namespace ferrolt

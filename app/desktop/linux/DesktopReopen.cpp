#include "DesktopReopen.h"

namespace ferrolt {

// Every opening is a start of the program.
DesktopReopen::DesktopReopen() = default;
DesktopReopen::~DesktopReopen() = default;
void DesktopReopen::listen(const Reopen &) {}

}  // namespace ferrolt

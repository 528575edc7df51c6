#include "WidenPipe.h"

namespace ferrolt {

// macOS widens busy pipes by itself and has no call for it.
void widenPipe(int) {}

}  // namespace ferrolt

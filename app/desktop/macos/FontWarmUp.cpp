#include "FontWarmUp.h"

namespace ferrolt {

// The system keeps its fonts ready.
void warmUpFonts() {}

}  // namespace ferrolt

#include "ClassLookup.h"

#include <objc/runtime.h>

namespace ferrolt {

bool isClassPresent(const char *name) {
    return objc_lookUpClass(name) != nullptr;
}

}  // namespace ferrolt

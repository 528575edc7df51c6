#include "ClassLookup.h"

#include <dlfcn.h>

namespace ferrolt {

bool isClassPresent(const char *name) {
    return dlsym(RTLD_DEFAULT, name) != nullptr;
}

}  // namespace ferrolt

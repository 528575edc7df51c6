#include "FontWarmUp.h"

#include <system_error>
#include <thread>

#include <dlfcn.h>

namespace ferrolt {

void warmUpFonts() {
    // Reading fontconfig's files is a quarter of what stands between the start and the first text on screen,
    // and nothing before that needs them. Qt has the library loaded and calls the same function later, which
    // then has nothing to do; where it is built without it there is nothing to warm up.
    using Function = int (*)();
    const auto initialise = reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, "FcInit"));
    if (initialise == nullptr)
        return;
    try {
        std::thread(initialise).detach();
    } catch (const std::system_error &) {
        // It is read when it is needed.
    }
}

}  // namespace ferrolt

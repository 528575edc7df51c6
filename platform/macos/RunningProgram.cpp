#include "RunningProgram.h"

#include <cstdint>
#include <string>
#include <system_error>

#include <mach-o/dyld.h>

namespace ferrolt {

std::filesystem::path runningProgram() {
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0)
        return {};
    std::error_code failure;
    const auto program = std::filesystem::canonical(path.c_str(), failure);
    return failure ? std::filesystem::path() : program;
}

}  // namespace ferrolt

#include "RunningProgram.h"

#include <system_error>

namespace ferrolt {

std::filesystem::path runningProgram() {
    std::error_code failure;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", failure);
    return failure ? std::filesystem::path() : path;
}

}  // namespace ferrolt

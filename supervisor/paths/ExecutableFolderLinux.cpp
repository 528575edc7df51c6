#include "PathRoots.h"

#include <system_error>

namespace ferrolt {

std::filesystem::path executableFolder() {
    std::error_code failure;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", failure);
    return failure ? std::filesystem::path() : executable.parent_path();
}

std::filesystem::path resourceFolder(const std::filesystem::path &executableFolder) {
    return executableFolder.parent_path() / "share" / "ferrolt-miner-launcher";
}

}  // namespace ferrolt

#include "PathRoots.h"

namespace ferrolt {

std::filesystem::path resourceFolder(const std::filesystem::path &executableFolder) {
    return executableFolder.parent_path() / "share" / "ferrolt-miner-launcher";
}

}  // namespace ferrolt

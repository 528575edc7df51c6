#include "PathResolvers.h"

#include <optional>
#include <system_error>
#include <utility>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

struct Resolved {
    PathRoots roots;
    std::optional<fs::path> clientExecutable;
    std::optional<fs::path> clientWorkingFolder;
    std::optional<fs::path> clientConfiguration;
};

Resolved &resolved() {
    static Resolved instance;
    return instance;
}

}  // namespace

bool pathExists(const fs::path &path) {
    std::error_code failure;
    return fs::exists(path, failure);
}

void usePathRoots(PathRoots roots) {
    resolved() = Resolved{std::move(roots), {}, {}, {}};
}

const PathRoots &pathRoots() {
    return resolved().roots;
}

fs::path engineFolder() {
    const PathRoots &roots = pathRoots();
    if (auto installed = roots.root / "Library/Application Support/Ferrolt/LumoraCore"; pathExists(installed))
        return installed;
    if (auto bundled = roots.resources / "Tandril/LumoraCore"; pathExists(bundled))
        return bundled;
    return roots.developmentFolder / "Tandril/LumoraCore";
}

fs::path engineBinFolder(const fs::path &engineFolder) {
    if (auto folder = engineFolder / "MediaEngine"; pathExists(folder / "Orbix"))
        return folder;
    return engineFolder / "Bin/MediaEngine";
}

fs::path localPropertiesPath() {
    return engineFolder() / "Properties/local.properties";
}

fs::path clientExecutablePath() {
    auto &cached = resolved().clientExecutable;
    if (!cached) {
        const auto beside = pathRoots().executableFolder / "qorclient";
        cached = pathExists(beside) ? beside : pathRoots().developmentFolder / "Client/qorclient";
    }
    return *cached;
}

fs::path clientWorkingFolder() {
    auto &cached = resolved().clientWorkingFolder;
    if (!cached) {
        const auto shared = pathRoots().root / "Users/Shared/Ferrolt/qorclient";
        cached = pathExists(shared) ? shared : pathRoots().developmentFolder / "Client";
    }
    return *cached;
}

fs::path clientVarFolder() {
    return pathRoots().home / ".qor" / pathRoots().nodeServerHost;
}

fs::path clientConfigurationPath() {
    auto &cached = resolved().clientConfiguration;
    if (!cached)
        cached = clientVarFolder() / "MinerClient.properties";
    return *cached;
}

fs::path libreOfficePath() {
    return pathRoots().root / "Applications/LibreOffice.app";
}

}  // namespace ferrolt

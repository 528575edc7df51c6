#pragma once

#include <filesystem>
#include <string>

namespace ferrolt {

/// The folders that every path of the launcher starts from. The defaults are the production values; a test
/// hands its own to AppVars, so that the launcher works in a folder of the test's.
struct PathRoots {
    PathRoots();

    std::filesystem::path root;               ///< the parent of "/Library", "/Users" and "/Applications"
    std::filesystem::path home;               ///< the user's home folder
    std::filesystem::path executableFolder;   ///< the folder of the application's own executable
    std::filesystem::path resources;          ///< the application bundle's resources
    std::filesystem::path developmentFolder;  ///< for runs from a development tree
    std::string nodeServerHost;               ///< the default node server host
};

/// The bundle's resource folder that belongs to `executableFolder`.
std::filesystem::path resourceFolder(const std::filesystem::path &executableFolder);

}  // namespace ferrolt

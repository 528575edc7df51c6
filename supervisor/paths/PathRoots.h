#pragma once

#include <filesystem>
#include <string>

namespace ferrolt {

/// Where every path of the launcher hangs. A default-constructed value is the production one; a test hands
/// its own to AppVars and so moves the whole file system of the launcher into a folder of its own.
struct PathRoots {
    PathRoots();

    std::filesystem::path root;               ///< what "/Library", "/Users" and "/Applications" stand below
    std::filesystem::path home;               ///< the user's home folder
    std::filesystem::path executableFolder;   ///< the folder that holds the application's own executable
    std::filesystem::path resources;          ///< the application bundle's resources
    std::filesystem::path developmentFolder;  ///< serves only runs from a development tree
    std::string nodeServerHost;               ///< the default node server host
};

/// The folder of the running program's executable file, links resolved; empty when the system does not tell.
std::filesystem::path executableFolder();

/// The bundle's resource folder for a program whose executable stands in `executableFolder`.
std::filesystem::path resourceFolder(const std::filesystem::path &executableFolder);

}  // namespace ferrolt

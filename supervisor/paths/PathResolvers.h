#pragma once

#include "PathRoots.h"

#include <filesystem>

/// The paths of the engine, the client and their files. Main thread only. A path that cannot be examined
/// counts as absent.
namespace ferrolt {

/// Sets the roots of all paths and clears what was computed once. AppVars calls it before any path is asked
/// for; without a call the production roots are in use.
void usePathRoots(PathRoots roots);
const PathRoots &pathRoots();

bool pathExists(const std::filesystem::path &path);

/// "/Library/Application Support/Ferrolt/LumoraCore" if it exists, else the bundle's resource
/// "Tandril/LumoraCore" if it exists, else the development folder's. Examined on every call.
std::filesystem::path engineFolder();

/// "MediaEngine" below the engine folder if it holds the file "Orbix", else "Bin/MediaEngine", whether or not
/// that exists: the start sequence reports a missing executable.
std::filesystem::path engineBinFolder(const std::filesystem::path &engineFolder);

/// The engine's own settings file, which names its port.
std::filesystem::path localPropertiesPath();

/// "qorclient" beside the launcher's own executable if it exists, else the development folder's. Computed
/// once.
std::filesystem::path clientExecutablePath();

/// "/Users/Shared/Ferrolt/qorclient" if it exists, else the development folder's "Client". Computed once.
std::filesystem::path clientWorkingFolder();

/// The client's folder for the default node server below the user's home.
std::filesystem::path clientVarFolder();

/// "MinerClient.properties" in clientVarFolder(). Computed once.
std::filesystem::path clientConfigurationPath();

/// "/Applications/LibreOffice.app".
std::filesystem::path libreOfficePath();

}  // namespace ferrolt

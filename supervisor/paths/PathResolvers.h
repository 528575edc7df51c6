#pragma once

#include "PathRoots.h"

#include <filesystem>

/// Where the launcher finds the engine, the client and the client's files. All of it is main-thread only.
/// Existence tests never throw: a path that cannot be examined counts as absent.
namespace ferrolt {

/// Roots every resolver anew and forgets what was computed once. AppVars calls it with its seam before it
/// asks for a path; without a call the production roots hold.
void usePathRoots(PathRoots roots);
const PathRoots &pathRoots();

/// "/Library/Application Support/Ferrolt/LumoraCore" if it exists, else the bundle's resource
/// "Tandril/LumoraCore" if it exists, else the development folder's. Examined on every call.
std::filesystem::path engineFolder();

/// "MediaEngine" below the engine folder if that holds the file "Orbix", else "Bin/MediaEngine", which is not
/// tested: the start sequence reports a missing executable.
std::filesystem::path engineBinFolder(const std::filesystem::path &engineFolder);

/// The engine's own settings, which name its port.
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

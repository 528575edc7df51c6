#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace ferrolt {

/// One operation of the product. Constructing it prepares it; calling it does it, and returns the outcome as
/// the product reports it. The folder is the world that it works in; what has to be there is laid out by
/// faults.py.
using Operation = std::function<std::string()>;

Operation saveIdentity(const std::filesystem::path &folder);
Operation storeSetting(const std::filesystem::path &folder);
Operation launchChild(const std::filesystem::path &folder);
Operation install(const std::filesystem::path &folder);

/// Serves what install() downloads, until it is killed. Writes "server" and "authority.pem" into the folder.
[[noreturn]] void serveInstallation(const std::filesystem::path &folder);

}  // namespace ferrolt

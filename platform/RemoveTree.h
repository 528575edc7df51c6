#pragma once

#include <filesystem>

namespace ferrolt {

/// Removes the file, link or folder at `path`, folders with all their contents. Does not follow links. Also
/// removes folders without write permission if they belong to the user. Errors are ignored; any thread.
void removeTree(const std::filesystem::path &path);

/// Removes the contents of the folder `path` likewise, but not the folder. Returns whether it is empty then.
bool emptyFolder(const std::filesystem::path &path);

}  // namespace ferrolt

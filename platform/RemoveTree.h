#pragma once

#include <filesystem>

namespace ferrolt {

/// Removes what stands at `path`, folders with all that is in them. Follows no link, and removes folders that
/// are not writable too, as far as they are the caller's own. Errors are ignored; any thread.
void removeTree(const std::filesystem::path &path);

/// Removes what is in the folder `path`, but not the folder. True if it is empty afterwards.
bool emptyFolder(const std::filesystem::path &path);

}  // namespace ferrolt

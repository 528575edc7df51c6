#pragma once

#include "FileDescriptor.h"

#include <filesystem>

namespace ferrolt {

/// Opens a folder that only this user can enter. Creates it and its missing parents with mode 0700, and sets
/// that mode if an existing folder of this user's is open to others. Not valid if the folder belongs to
/// another user, is a symbolic link or cannot be created. Any thread.
FileDescriptor openPrivateFolder(const std::filesystem::path &path);

}  // namespace ferrolt

#pragma once

#include "FileDescriptor.h"

#include <filesystem>

namespace ferrolt {

/// Opens a folder that only this user can enter, created with its missing parents (all of mode 0700). One
/// that belongs to this user and is open to others is closed to them. Not valid when it belongs to another
/// user, is a symbolic link or cannot be made. Any thread.
FileDescriptor openPrivateFolder(const std::filesystem::path &path);

}  // namespace ferrolt

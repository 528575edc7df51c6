#pragma once

#include <filesystem>
#include <string_view>

namespace ferrolt {

/// Gives the file at `path` new contents as a whole: whoever opens it, and whenever the machine stops, finds
/// the old contents or the new ones, complete. It keeps its permissions and, where the system lets us, its
/// owner; a file that was not there gets what the user's mask leaves. When `path` is a symbolic link, the
/// file that it leads to is replaced and the links stay.
///
/// Done by a new file in the same folder that then takes the old one's name. Unlike QSaveFile this keeps the
/// owner, follows a relative link from where it really stands when its folder is a link too, takes paths as
/// the system has them, whatever their encoding, and asks the folder alone for leave, as any replacement by
/// renaming does: a file's own missing write permission stays and does not stand in the way.
///
/// False when that cannot be done (full disk, folder that cannot be written, a folder or device in the file's
/// place): then all is as it was. Only a crash in the midst of it may leave the new file behind, hidden.
/// Writes through to the disk, so it may take a while; any thread.
[[nodiscard]] bool replaceFile(const std::filesystem::path &path, std::string_view contents);

}  // namespace ferrolt

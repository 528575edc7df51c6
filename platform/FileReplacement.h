#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

namespace ferrolt {

/// Replaces the contents of the file at `path` atomically: a reader, also after a power cut, finds the
/// complete old or the complete new contents. Keeps the permissions, where the file system has any, and, if
/// the system permits, the owner; a new file gets the permissions that the umask leaves. If `path` is a
/// symbolic link, replaces the file that it leads to and keeps the links.
///
/// Writes a new file into the same folder and renames it. QSaveFile (Qt 6.4) would not do: it loses the
/// owner, resolves a relative link wrongly if the link's folder is a link too, cannot take paths that are not
/// in the locale's encoding, and refuses a file without write permission, although only the folder's
/// permission matters for a renaming.
///
/// Returns false if that fails (full disk, folder not writable, a folder or device in the file's place); the
/// old file is then unchanged. Only a crash may leave the new file behind, under a hidden name; the next
/// replacement in that folder removes it. Waits for the disk; any thread, and several processes at a time.
[[nodiscard]] bool replaceFile(const std::filesystem::path &path, std::string_view contents);
/// The same. If it fails, `reason` says why: the system's error, is_a_directory, or not_supported for
/// something else that is no ordinary file.
[[nodiscard]] bool replaceFile(const std::filesystem::path &path, std::string_view contents,
                               std::error_code &reason);

/// Removes the new files that killed processes left in `folder`, but none that a running process still
/// writes: that one holds its lock, and the system releases the lock when the process ends. Errors are
/// ignored; any thread.
void removeAbandonedReplacements(const std::filesystem::path &folder);

}  // namespace ferrolt

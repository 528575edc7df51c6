#pragma once

#include "FileDescriptor.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace ferrolt {

/// The folder in which one installation keeps its download and mounts it: new, the user's alone, and gone
/// with this object. While the object lives the folder is locked, so that a later run of the program can tell
/// a folder in use from one that a run that ended in the middle has left behind.
class StagingFolder {
  public:
    /// Makes "ferrolt-libreoffice-" and a fresh UUID below `temporaryFolder`, with intermediate folders.
    /// Nothing, and the reason in `failure`, if that cannot be done.
    static std::optional<StagingFolder> create(const std::filesystem::path &temporaryFolder,
                                               std::error_code &failure);

    /// The folders below `temporaryFolder` that no run of the program uses any more. They are only found, and
    /// become the caller's own: they go with these objects.
    static std::vector<StagingFolder> abandoned(const std::filesystem::path &temporaryFolder);

    StagingFolder(StagingFolder &&other) noexcept
        : folder(std::exchange(other.folder, {})), lock(std::move(other.lock)) {}
    StagingFolder &operator=(StagingFolder &&) = delete;
    /// Removes the folder with all that is in it; errors are ignored.
    ~StagingFolder();

    const std::filesystem::path &path() const { return folder; }
    std::filesystem::path image() const { return folder / "LibreOffice.dmg"; }
    std::filesystem::path mountPoint() const { return folder / "mnt"; }
    std::filesystem::path applicationInImage() const { return mountPoint() / "LibreOffice.app"; }

  private:
    StagingFolder(std::filesystem::path folder, FileDescriptor lock)
        : folder(std::move(folder)), lock(std::move(lock)) {}

    std::filesystem::path folder;
    FileDescriptor lock;
};

}  // namespace ferrolt

#pragma once

#include "FileDescriptor.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace ferrolt {

/// The folder in which one installation keeps and mounts its download: new, accessible to the user only, and
/// removed by the destructor. The object holds a lock on the folder, so that abandoned() can tell a folder in
/// use from one that a killed process has left behind. Any thread.
class StagingFolder {
  public:
    /// Creates "ferrolt-libreoffice-" + a new UUID below `temporaryFolder`, with intermediate folders.
    /// Nothing when that fails, with the reason in `failure`.
    static std::optional<StagingFolder> create(const std::filesystem::path &temporaryFolder,
                                               std::error_code &failure);

    /// The folders below `temporaryFolder` that no process uses any more. The caller owns them: they are
    /// removed when the returned objects are destroyed.
    static std::vector<StagingFolder> abandoned(const std::filesystem::path &temporaryFolder);

    StagingFolder(StagingFolder &&other) noexcept
        : folder(std::exchange(other.folder, {})), lock(std::move(other.lock)) {}
    StagingFolder &operator=(StagingFolder &&) = delete;
    /// Removes the folder with its contents; errors are ignored.
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

#pragma once

#include "FileDescriptor.h"

#include <string>
#include <utility>

#include <sys/types.h>

namespace ferrolt {

/// Creates folders, files and links below one root folder and nowhere else: every path is walked with
/// openat() from the root, never through a link, and nothing that exists is replaced or written to. Paths are
/// relative, without empty, "." and ".." components. A failure is false, or an invalid descriptor. One thread
/// at a time.
class VolumeTree {
  public:
    explicit VolumeTree(FileDescriptor root) : root(std::move(root)) {}

    /// With rwx for the owner alone until setPermissions().
    bool addFolder(const std::string &path);
    FileDescriptor createFile(const std::string &path);
    bool addLink(const std::string &path, const std::string &target);
    /// Of a folder, after everything in it was created: it may lose its write permission.
    bool setPermissions(const std::string &path, mode_t permissions);

  private:
    /// Opens the parent folder of `path` as `entered`.
    bool enterParentOf(const std::string &path);

    FileDescriptor root;
    // The last parent folder, kept open: most entries have the same parent as the one before.
    std::string enteredPath;
    FileDescriptor entered;
};

}  // namespace ferrolt

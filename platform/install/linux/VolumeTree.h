#pragma once

#include "FileDescriptor.h"

#include <string>
#include <utility>

#include <sys/types.h>

namespace ferrolt {

/// Builds a tree of folders, files and links below a folder and nowhere else: every step down is taken from
/// the open folder above and never through a link, and nothing that exists is opened, replaced or written to.
/// Paths are relative, of plain components. Every operation is false, or invalid, when it cannot be done. One
/// thread at a time.
class VolumeTree {
  public:
    explicit VolumeTree(FileDescriptor root) : root(std::move(root)) {}

    /// Writable for its owner until setPermissions().
    bool addFolder(const std::string &path);
    FileDescriptor createFile(const std::string &path);
    bool addLink(const std::string &path, const std::string &target);
    /// Of a folder; the only time that its mode is not its owner's to fill.
    bool setPermissions(const std::string &path, mode_t permissions);

  private:
    /// The folder that `path` stands in.
    bool enterParentOf(const std::string &path);

    FileDescriptor root;
    // Neighbours mostly come one after the other.
    std::string enteredPath;
    FileDescriptor entered;
};

}  // namespace ferrolt

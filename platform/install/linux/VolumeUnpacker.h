#pragma once

#include "FileDescriptor.h"
#include "ImageListing.h"
#include "ToolRunner.h"
#include "VolumeTree.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace ferrolt {

/// Creates the folders, files and links of a disk image's volume below one root folder. Neither the listing
/// nor the contents are trusted. Links are created last, with their target unchanged, and never followed, so
/// no entry can be written through one. One object unpacks one volume; for one thread.
class VolumeUnpacker {
  public:
    /// Reads the next bytes of the contents of all files and links, without separators, in the order of the
    /// listing. The number of bytes, 0 at the end, -1 on an error.
    using Read = std::function<ssize_t(std::span<char>)>;

    /// `total` is the size of all entries, for `progress`.
    VolumeUnpacker(FileDescriptor root, Read contents, std::uint64_t total,
                   const ToolRunner::Progress &progress)
        : tree(std::move(root)), contents(std::move(contents)), total(total), progress(progress) {}

    /// False when an entry cannot be created, as one whose name occurs twice, or when the contents are not
    /// exactly as long as the listing says. What was created until then stays. Permissions are those listed,
    /// plus read permission for the owner.
    bool unpack(const std::vector<ImageEntry> &entries);

  private:
    bool addFile(const ImageEntry &entry);
    std::optional<std::string> readTarget(const ImageEntry &link);
    /// Hands the next `size` bytes to `take` in pieces; false when they do not arrive or `take` returns
    /// false.
    template <class Take>
    bool takeNext(std::uint64_t size, Take take);
    bool isAtEnd() { return waiting.empty() && !refill() && !hasFailed; }
    bool refill();

    VolumeTree tree;
    const Read contents;
    std::vector<char> buffer = std::vector<char>(std::size_t{256} * 1024);
    std::string_view waiting;
    bool hasFailed = false;
    std::uint64_t taken = 0;
    const std::uint64_t total;
    const ToolRunner::Progress &progress;
};

}  // namespace ferrolt

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace ferrolt {

/// A file, folder or symbolic link of a disk image's volume.
struct ImageEntry {
    enum class Kind { Folder, File, Link };

    Kind kind = Kind::File;
    /// Relative to the volume's top folder: UTF-8, at least one component, none of them empty, "." or "..".
    std::string path;
    mode_t permissions = 0;  ///< the nine rwx bits, never set-user-id, set-group-id or sticky
    std::uint64_t size = 0;  ///< in bytes; for a link, of its target
};

/// Parses the listing of a disk image, the output of `7zz l -slt`, in which every entry is a block of
/// "Key = Value" lines. File names in it can imitate any line, so the entries are checked: refused are paths
/// that would leave the mount point, entries other than files, folders and links, and anything above the
/// limits below.
class ImageListing {
  public:
    static constexpr std::size_t maxEntries = 500'000;
    static constexpr std::size_t maxPathLength = 1024;  // PATH_MAX on macOS
    static constexpr std::size_t maxPathDepth = 128;
    static constexpr std::size_t maxLineLength = 65536;

    /// Takes the next piece of the listing, which may end in the middle of a line. False once it is refused.
    bool feed(std::string_view piece);

    /// To be called once, at the end: the entries in their order, or nothing when the listing was refused or
    /// is not of an HFS+ or APFS volume.
    std::optional<std::vector<ImageEntry>> take();

  private:
    /// The lines of one entry so far.
    struct Block {
        std::string path;
        std::string mode;
        std::string size;
        char folder = '\0';
        bool isAlternateStream = false;
    };

    bool line(std::string_view text);
    bool finishBlock();
    bool addEntry(ImageEntry &entry, const std::string &listedPath);

    std::string unfinished;
    std::string volumeType;
    std::string topFolder;
    std::optional<Block> block;
    std::vector<ImageEntry> entries;
    bool inEntries = false;
    bool refused = false;
};

}  // namespace ferrolt

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace ferrolt {

/// A file, folder or link of a disk image's volume.
struct ImageEntry {
    enum class Kind { Folder, File, Link };

    Kind kind = Kind::File;
    /// Relative to the volume's top folder: UTF-8, at least one component, none of them empty, "." or "..".
    std::string path;
    mode_t permissions =
        0;  ///< the nine bits; set-user-id and its like are left behind, as on a mounted image
    std::uint64_t size = 0;  ///< in bytes; of a link's target for a link
};

/// Reads the listing of a disk image, `7zz l -slt`, line by line, in which every entry is a block of "Key =
/// Value" lines. The image's author may have written anything between its lines, so what comes out is checked
/// here: an entry that would leave the mount point, one that is neither file, folder nor link, and a volume
/// without end are refused.
class ImageListing {
  public:
    static constexpr std::size_t mostEntries = 500'000;
    static constexpr std::size_t longestPath = 1024;  // what a Mac itself allows
    static constexpr std::size_t deepestPath = 128;
    static constexpr std::size_t longestLine = 65536;

    /// The next piece of the listing, cut anywhere. False once it was refused.
    bool feed(std::string_view piece);

    /// To be called at the listing's end: the entries in the volume's order, or nothing if it was refused or
    /// is of something else than an HFS+ or APFS volume.
    std::optional<std::vector<ImageEntry>> take();

  private:
    /// One entry's block as far as it was read.
    struct Block {
        std::string path;
        std::string mode;
        std::string size;
        char folder = '\0';
        bool isAlternateStream = false;
    };

    bool line(std::string_view text);
    bool finishBlock();
    bool place(ImageEntry &entry, const std::string &listedPath);

    std::string unfinished;
    std::string volumeType;
    std::string topFolder;
    std::optional<Block> block;
    std::vector<ImageEntry> entries;
    bool inEntries = false;
    bool refused = false;
};

}  // namespace ferrolt

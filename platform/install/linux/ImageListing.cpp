#include "ImageListing.h"

#include "ComposedName.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace ferrolt {

namespace {

/// The value if the line is "Key = value".
std::optional<std::string_view> valueOf(std::string_view line, std::string_view key) {
    // With an empty value the blank after the equals sign may be missing.
    if (!line.starts_with(key) || !line.substr(key.size()).starts_with(" ="))
        return std::nullopt;
    const std::string_view value = line.substr(key.size() + 2);
    return value.starts_with(' ') ? value.substr(1) : value;
}

/// The permissions of a mode in the notation of `ls -l`.
std::optional<mode_t> permissionsOf(std::string_view mode) {
    constexpr std::string_view expected = "rwxrwxrwx";
    if (mode.size() < 1 + expected.size())
        return std::nullopt;
    mode_t permissions = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const char bit = mode[1 + i];
        // "s" and "t" are x with set-user-id, set-group-id or sticky; "S" and "T" the same without x.
        const bool isSet = bit == expected[i] || (i % 3 == 2 && (bit == 's' || bit == 't'));
        if (!isSet && bit != '-' && bit != 'S' && bit != 'T')
            return std::nullopt;
        permissions = permissions << 1 | (isSet ? 1U : 0U);
    }
    return permissions;
}

std::optional<ImageEntry::Kind> kindOf(char modeType, char folder) {
    using Kind = ImageEntry::Kind;
    std::optional<Kind> kind;
    if (modeType == 'd')
        kind = Kind::Folder;
    else if (modeType == 'l')
        kind = Kind::Link;
    else if (modeType == '-')
        kind = Kind::File;
    else if (modeType == '\0' || modeType == '0')  // written by a system that keeps no modes
        kind = folder == '+' ? Kind::Folder : Kind::File;
    // The archiver pipes content for everything that it does not call a folder; mode and "Folder" must agree.
    if (kind && folder != '\0' && (folder == '+') != (kind == Kind::Folder))
        return std::nullopt;
    return kind;
}

/// Whether a path relative to the mount point stays below it, and a file system can hold it.
bool isSafePath(std::string_view path) {
    if (path.size() > ImageListing::maxPathLength)
        return false;
    std::size_t depth = 0;
    for (std::size_t start = 0; start <= path.size(); ++depth) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string_view component = path.substr(start, end - start);
        if (component.empty() || component == "." || component == "..")
            return false;
        start = end + 1;
    }
    return depth <= ImageListing::maxPathDepth && path.find('\0') == std::string_view::npos;
}

}  // namespace

bool ImageListing::feed(std::string_view piece) {
    while (!refused && !piece.empty()) {
        const std::size_t end = piece.find('\n');
        unfinished.append(piece.substr(0, end));
        if (unfinished.size() > maxLineLength)
            refused = true;
        else if (end != std::string_view::npos)
            refused = !line(std::exchange(unfinished, {}));
        piece.remove_prefix(end == std::string_view::npos ? piece.size() : end + 1);
    }
    return !refused;
}

bool ImageListing::line(std::string_view text) {
    if (!inEntries) {
        // The container's type comes first, the volume's last.
        if (const auto type = valueOf(text, "Type"))
            volumeType = *type;
        inEntries = text == "----------";
        return true;
    }
    if (text.empty())
        return finishBlock();
    if (const auto path = valueOf(text, "Path")) {
        if (!finishBlock())
            return false;
        block = Block();
        block->path = *path;
        return true;
    }
    if (!block)
        return true;
    if (const auto folder = valueOf(text, "Folder"))
        block->folder = folder->empty() ? '\0' : folder->front();
    if (const auto size = valueOf(text, "Size"))
        block->size = *size;
    if (const auto mode = valueOf(text, "Mode"))
        block->mode = *mode;
    if (const auto stream = valueOf(text, "Alternate Stream"))
        block->isAlternateStream = *stream == "+";
    return true;
}

bool ImageListing::finishBlock() {
    const std::optional<Block> done = std::exchange(block, std::nullopt);
    if (!done || done->isAlternateStream)
        return true;

    const auto kind = kindOf(done->mode.empty() ? '\0' : done->mode.front(), done->folder);
    if (!kind || entries.size() >= maxEntries)
        return false;
    ImageEntry entry;
    entry.kind = *kind;
    const auto permissions = permissionsOf(done->mode);
    if (!permissions && !done->mode.empty())
        return false;
    entry.permissions = permissions.value_or(0);
    if (done->mode.empty() || done->mode.front() == '0')
        entry.permissions = entry.kind == ImageEntry::Kind::Folder ? 0755 : 0644;
    if (entry.kind != ImageEntry::Kind::Folder && !done->size.empty()) {
        const char *end = done->size.data() + done->size.size();
        const auto [stop, failure] = std::from_chars(done->size.data(), end, entry.size);
        if (failure != std::errc() || stop != end)
            return false;
    }
    return addEntry(entry, done->path);
}

/// 7-Zip lists an HFS+ volume below a folder named after the volume, an APFS volume without one.
bool ImageListing::addEntry(ImageEntry &entry, const std::string &listedPath) {
    if (!isSafePath(listedPath))
        return false;
    if (volumeType != "HFS") {
        entry.path = listedPath;
        entries.push_back(std::move(entry));
        return true;
    }
    const std::size_t slash = listedPath.find('/');
    if (topFolder.empty())
        topFolder = listedPath.substr(0, slash);
    // An entry beside the top folder is one whose parent 7-Zip did not find.
    if (listedPath.substr(0, slash) != topFolder)
        return false;
    if (slash == std::string::npos)
        return entry.kind == ImageEntry::Kind::Folder;
    const std::string inside = listedPath.substr(slash + 1);
    // 7-Zip lists an HFS+ hard link as an empty file, and its content as a file in this folder. Unpacked, the
    // application would have empty files, so the image is refused.
    if (inside.starts_with("[HFS+ Private Data]/iNode"))
        return false;
    entry.path = composedName(inside);
    if (!isSafePath(entry.path))
        return false;
    entries.push_back(std::move(entry));
    return true;
}

std::optional<std::vector<ImageEntry>> ImageListing::take() {
    if (!unfinished.empty())
        feed("\n");
    if (!refused)
        refused = !finishBlock();
    if (refused || !inEntries || (volumeType != "HFS" && volumeType != "APFS"))
        return std::nullopt;
    return std::move(entries);
}

}  // namespace ferrolt

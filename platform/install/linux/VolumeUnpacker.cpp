#include "VolumeUnpacker.h"

#include <algorithm>
#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace {

constexpr std::size_t maxTargetLength = 4095;  // of a symbolic link on Linux

bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace

bool VolumeUnpacker::refill() {
    const ssize_t count = contents(buffer);
    hasFailed = count < 0;
    waiting = {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    return count > 0;
}

template <class Take>
bool VolumeUnpacker::takeNext(std::uint64_t size, Take take) {
    while (size > 0) {
        if (waiting.empty() && !refill())
            return false;
        const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(size, waiting.size()));
        if (!take(waiting.substr(0, count)))
            return false;
        waiting.remove_prefix(count);
        size -= count;
        taken += count;
        if (progress)
            progress(taken, total);
    }
    return true;
}

bool VolumeUnpacker::addFile(const ImageEntry &entry) {
    const FileDescriptor file = tree.createFile(entry.path);
    if (!file.isValid())
        return false;
    return takeNext(entry.size, [&](std::string_view bytes) { return writeAll(file.get(), bytes); }) &&
           fchmod(file.get(), entry.permissions | S_IRUSR) == 0;
}

/// A link's target is its content; in an APFS volume a zero byte follows.
std::optional<std::string> VolumeUnpacker::readTarget(const ImageEntry &link) {
    if (link.size > maxTargetLength + 1)
        return std::nullopt;
    std::string target;
    if (!takeNext(link.size, [&](std::string_view bytes) {
            target.append(bytes);
            return true;
        }))
        return std::nullopt;
    if (target.ends_with('\0'))
        target.pop_back();
    if (target.empty() || target.find('\0') != std::string::npos)
        return std::nullopt;
    return target;
}

bool VolumeUnpacker::unpack(const std::vector<ImageEntry> &entries) {
    // A sorted map has every folder before its contents. A name that occurs twice fails when it is created
    // the second time.
    std::map<std::string, mode_t> folders;
    for (const ImageEntry &entry : entries)
        if (entry.kind == ImageEntry::Kind::Folder && !folders.emplace(entry.path, entry.permissions).second)
            return false;
    for (const auto &[path, permissions] : folders)
        if (!tree.addFolder(path))
            return false;

    std::vector<std::pair<std::string, std::string>> links;
    for (const ImageEntry &entry : entries) {
        if (entry.kind == ImageEntry::Kind::File && !addFile(entry))
            return false;
        if (entry.kind == ImageEntry::Kind::Link) {
            auto target = readTarget(entry);
            if (!target)
                return false;
            links.emplace_back(entry.path, std::move(*target));
        }
    }
    if (!isAtEnd())
        return false;

    for (const auto &[path, target] : links)
        if (!tree.addLink(path, target))
            return false;
    return std::all_of(folders.begin(), folders.end(), [&](const auto &folder) {
        return tree.setPermissions(folder.first, folder.second | S_IRUSR | S_IXUSR);
    });
}

}  // namespace ferrolt

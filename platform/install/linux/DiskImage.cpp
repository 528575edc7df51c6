#include "DiskImage.h"

#include "ImageListing.h"
#include "MainQueue.h"
#include "RemoveTree.h"
#include "ToolOutput.h"
#include "VolumeTree.h"

#include <QStandardPaths>

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace {

constexpr std::size_t maxTargetLength = 4095;  // of a symbolic link on Linux

/// 7-Zip exits with 1 after mere warnings, and it warns of some APFS records that it does not need.
bool isGood(Process::Status status) {
    return status == 0 || status == 1;
}

/// In seconds, with a point in every locale, which std::to_string() of a floating-point number has not.
std::string secondsOf(std::chrono::milliseconds duration) {
    const std::string milliseconds = std::to_string(duration.count() % 1000);
    return std::to_string(duration.count() / 1000) + '.' + std::string(3 - milliseconds.size(), '0') +
           milliseconds;
}

/// One run of the archiver under timeout(1), which kills it some time after a terminate request, its own or
/// ToolOutput's: a parser that loops on a damaged image may ignore the request. timeout(1) of coreutils 9.1
/// leaves its command running if the request arrives before its own fork() has returned, so the kernel kills
/// the archiver when timeout(1) ends. A damaged image can also make it ask for any amount of memory, hence
/// the limit. The common switches: names as UTF-8, no resource forks and extended attributes, no file name
/// patterns, no other output.
ToolOutput run(const DiskImage::Archiver &archiver, std::initializer_list<const char *> particular,
               const std::filesystem::path &image) {
    std::vector<std::string> arguments{"--kill-after=" + secondsOf(archiver.killAfter),
                                       secondsOf(archiver.timeout),
                                       "/usr/bin/setpriv",
                                       "--pdeathsig=KILL",
                                       "--no-new-privs",
                                       "--",
                                       "/usr/bin/prlimit",
                                       "--as=" + std::to_string(DiskImage::maxArchiverMemory),
                                       "--",
                                       archiver.executable.string()};
    arguments.insert(arguments.end(), particular.begin(), particular.end());
    arguments.insert(arguments.end(), {"-sccUTF-8", "-sns-", "-spd", "-bse0", "-bsp0", "--", image.string()});
    return ToolOutput("/usr/bin/timeout", arguments);
}

std::optional<std::vector<ImageEntry>> list(const DiskImage::Archiver &archiver,
                                            const std::filesystem::path &image) {
    ToolOutput output = run(archiver, {"l", "-slt"}, image);
    if (!output.isLaunched())
        return std::nullopt;
    ImageListing listing;
    std::array<char, 65536> buffer;
    ssize_t count = 0;
    while ((count = output.read(buffer)) > 0)
        if (!listing.feed({buffer.data(), static_cast<std::size_t>(count)}))
            return std::nullopt;
    if (count < 0 || !isGood(output.status()))
        return std::nullopt;
    return listing.take();
}

/// Nothing when it exceeds maxVolumeSize.
std::optional<std::uint64_t> totalSize(const std::vector<ImageEntry> &entries) {
    std::uint64_t total = 0;
    for (const ImageEntry &entry : entries) {
        if (entry.size > DiskImage::maxVolumeSize - total)
            return std::nullopt;
        total += entry.size;
    }
    return total;
}

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

/// The archiver's pipe: the contents of all files and links, without separators, in the order of the listing.
class Contents {
  public:
    Contents(const DiskImage::Archiver &archiver, const std::filesystem::path &image, std::uint64_t total,
             const ToolRunner::Progress &progress)
        : output(run(archiver, {"x", "-so", "-bso0"}, image)), total(total), progress(progress) {}

    /// Hands the next `size` bytes to `take` in pieces; false when they do not arrive or `take` returns
    /// false.
    template <class Take>
    bool next(std::uint64_t size, Take take) {
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

    /// Whether nothing is left and the archiver reports success. Blocks until it has ended.
    bool isComplete() { return waiting.empty() && !refill() && !failed && isGood(output.status()); }

  private:
    bool refill() {
        const ssize_t count = output.isLaunched() ? output.read(buffer) : -1;
        failed = count < 0;
        waiting = {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
        return count > 0;
    }

    ToolOutput output;
    std::vector<char> buffer = std::vector<char>(std::size_t{256} * 1024);
    std::string_view waiting;
    std::uint64_t taken = 0;
    std::uint64_t total;
    const ToolRunner::Progress &progress;
    bool failed = false;
};

bool unpackFile(VolumeTree &tree, const ImageEntry &entry, Contents &contents) {
    const FileDescriptor file = tree.createFile(entry.path);
    if (!file.isValid())
        return false;
    return contents.next(entry.size, [&](std::string_view bytes) { return writeAll(file.get(), bytes); }) &&
           fchmod(file.get(), entry.permissions | S_IRUSR) == 0;
}

/// A link's target is its content; in an APFS volume a zero byte follows.
std::optional<std::string> readTarget(const ImageEntry &entry, Contents &contents) {
    if (entry.size > maxTargetLength + 1)
        return std::nullopt;
    std::string target;
    if (!contents.next(entry.size, [&](std::string_view bytes) {
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

}  // namespace

std::filesystem::path DiskImage::systemArchiver() {
    for (const QStringList &folders : {QStringList{QStringLiteral("/usr/bin")}, QStringList()})
        for (const char *name : {"7zz", "7z"})
            if (const QString found = QStandardPaths::findExecutable(QString::fromLatin1(name), folders);
                !found.isEmpty())
                return found.toStdString();
    return {};
}

bool DiskImage::attach(const std::filesystem::path &image, const std::filesystem::path &mountPoint,
                       const ToolRunner::Progress &progress) const {
    assertNotMainThread();
    std::error_code failure;
    if (!std::filesystem::is_empty(mountPoint, failure) || failure)
        return false;
    if (unpack(image, mountPoint, progress))
        return true;
    emptyFolder(mountPoint);
    return false;
}

bool DiskImage::unpack(const std::filesystem::path &image, const std::filesystem::path &mountPoint,
                       const ToolRunner::Progress &progress) const {
    FileDescriptor root(open(mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (archiver.executable.empty() || !root.isValid())
        return false;
    const auto entries = list(archiver, image);
    const auto total = entries ? totalSize(*entries) : std::nullopt;
    if (!total)
        return false;

    // A sorted map has every folder before its contents. A name that occurs twice fails when it is created
    // the second time.
    VolumeTree tree(std::move(root));
    std::map<std::string, mode_t> folders;
    for (const ImageEntry &entry : *entries)
        if (entry.kind == ImageEntry::Kind::Folder && !folders.emplace(entry.path, entry.permissions).second)
            return false;
    for (const auto &[path, permissions] : folders)
        if (!tree.addFolder(path))
            return false;

    Contents contents(archiver, image, *total, progress);
    std::vector<std::pair<std::string, std::string>> links;
    for (const ImageEntry &entry : *entries) {
        if (entry.kind == ImageEntry::Kind::File && !unpackFile(tree, entry, contents))
            return false;
        if (entry.kind == ImageEntry::Kind::Link) {
            auto target = readTarget(entry, contents);
            if (!target)
                return false;
            links.emplace_back(entry.path, std::move(*target));
        }
    }
    if (!contents.isComplete())
        return false;

    for (const auto &[path, target] : links)
        if (!tree.addLink(path, target))
            return false;
    return std::all_of(folders.begin(), folders.end(), [&](const auto &folder) {
        return tree.setPermissions(folder.first, folder.second | S_IRUSR | S_IXUSR);
    });
}

bool DiskImage::detach(const std::filesystem::path &mountPoint) {
    assertNotMainThread();
    return emptyFolder(mountPoint);
}

}  // namespace ferrolt

#include "DiskImage.h"

#include "ImageListing.h"
#include "MainQueue.h"
#include "RemoveTree.h"
#include "ToolOutput.h"
#include "VolumeUnpacker.h"

#include <QStandardPaths>

#include <array>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace ferrolt {

namespace {

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
    if (!std::filesystem::is_empty(mountPoint, failure))
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
    ToolOutput output = run(archiver, {"x", "-so", "-bso0"}, image);
    if (!output.isLaunched())
        return false;
    VolumeUnpacker unpacker(
        std::move(root), [&](std::span<char> buffer) { return output.read(buffer); }, *total, progress);
    return unpacker.unpack(*entries) && isGood(output.status());
}

bool DiskImage::detach(const std::filesystem::path &mountPoint) {
    assertNotMainThread();
    return emptyFolder(mountPoint);
}

}  // namespace ferrolt

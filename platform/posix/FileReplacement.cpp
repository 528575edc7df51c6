#include "FileReplacement.h"

#include "FileDescriptor.h"

#include <QRandomGenerator>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

/// The path at the end of a chain of symbolic links, which need not exist. Nothing if the links form a
/// circle.
std::optional<fs::path> endOfLinks(fs::path path) {
    constexpr int maxLinks = 40;  // as in the Linux kernel
    for (int followed = 0; followed <= maxLinks; ++followed) {
        std::error_code isNoLink;
        const fs::path target = fs::read_symlink(path, isNoLink);
        if (isNoLink)
            return path;
        path = path.parent_path() / target;
    }
    return std::nullopt;
}

/// Of the files that are to replace others. A short name: one derived from the target's could be too long for
/// the file system.
constexpr std::string_view newFilePrefix = ".ferrolt-save-";

/// Whether the file system has no such thing. Any other error is a failure.
bool isUnsupported(int error) {
    return error == EINVAL || error == ENOSYS || error == ENOTSUP;
}

/// The file that is to replace the old one. Removed again unless it did.
class NewFile {
  public:
    NewFile(const fs::path &folder, mode_t mode) {
        for (int attempt = 0; attempt < 100; ++attempt) {
            const auto number = static_cast<unsigned long long>(QRandomGenerator::system()->generate64());
            path = folder / (std::string(newFilePrefix) + std::to_string(number));
            descriptor = FileDescriptor(
                ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
            if (descriptor.isValid() ? lock() : errno != EEXIST)
                return;
        }
        descriptor.close();
        errno = EEXIST;
    }
    ~NewFile() {
        if (descriptor.isValid() && !isInPlace)
            ::unlink(path.c_str());
    }
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    bool isOpen() const { return descriptor.isValid(); }

    /// A file system without permissions refuses, which is no failure: all its files have the same ones.
    bool takeAccessOf(const struct stat &old) {
        struct stat own {};
        if (::fstat(descriptor.get(), &own) != 0)
            return false;
        // The owner before the permissions, because chown() may clear some of these. An ordinary user may
        // still set a group that they belong to.
        const bool differs = own.st_uid != old.st_uid || own.st_gid != old.st_gid;
        [[maybe_unused]] const bool isGiven =
            differs && (::fchown(descriptor.get(), old.st_uid, old.st_gid) == 0 ||
                        ::fchown(descriptor.get(), static_cast<uid_t>(-1), old.st_gid) == 0);
        return ::fchmod(descriptor.get(), old.st_mode & 0777) == 0 || errno == EPERM || isUnsupported(errno);
    }

    bool write(std::string_view contents) {
        while (!contents.empty()) {
            const ssize_t count = ::write(descriptor.get(), contents.data(), contents.size());
            if (count < 0 && errno == EINTR)
                continue;
            if (count == 0)
                errno = EIO;
            if (count <= 0)
                return false;
            contents.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }

    /// Needed before the renaming: after a power cut the name could lead to an empty file. Also, a network
    /// file system reports a full disk only here. A file system without fsync() is no failure.
    bool writeThrough() {
        do {
            if (::fsync(descriptor.get()) == 0)
                return true;
        } while (errno == EINTR);
        return isUnsupported(errno);
    }

    bool takePlaceOf(const fs::path &target) {
        isInPlace = std::rename(path.c_str(), target.c_str()) == 0;
        return isInPlace;
    }

  private:
    /// False, and the file is gone, when another process has taken it for abandoned in the moment since it
    /// was created: that process holds the lock, or has removed the file already. Some network file systems
    /// have no locks; the file is kept without one.
    bool lock() {
        const bool isTaken = ::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        struct stat status {};
        if (!isTaken && (::fstat(descriptor.get(), &status) != 0 || status.st_nlink > 0))
            return true;
        ::unlink(path.c_str());
        return false;
    }

    fs::path path;
    FileDescriptor descriptor;
    bool isInPlace = false;
};

}  // namespace

void removeAbandonedReplacements(const fs::path &folder) {
    std::error_code failure;
    for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const fs::path &path = entry->path();
        if (!path.filename().native().starts_with(newFilePrefix))
            continue;
        // O_NONBLOCK: opening a pipe of this name must not wait.
        const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
        struct stat status {};
        if (file.isValid() && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
            status.st_uid == ::geteuid() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
            ::unlink(path.c_str());
    }
}

bool replaceFile(const fs::path &path, std::string_view contents) {
    std::error_code reason;
    return replaceFile(path, contents, reason);
}

bool replaceFile(const fs::path &path, std::string_view contents, std::error_code &reason) {
    const auto target = endOfLinks(path);
    if (!target) {
        reason = std::make_error_code(std::errc::too_many_symbolic_link_levels);
        return false;
    }
    struct stat old {};
    const bool exists = ::lstat(target->c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        reason =
            std::make_error_code(S_ISDIR(old.st_mode) ? std::errc::is_a_directory : std::errc::not_supported);
        return false;
    }
    const auto fail = [&reason](int error) {
        reason = std::error_code(error, std::generic_category());
        return false;
    };
    if (!exists && errno != ENOENT)
        return fail(errno);
    removeAbandonedReplacements(target->parent_path());
    // The new contents of a private file must never be readable by others.
    NewFile file(target->parent_path(), exists ? 0600 : 0666);
    if (!file.isOpen())
        return fail(errno);
    if ((exists && !file.takeAccessOf(old)) || !file.write(contents) || !file.writeThrough() ||
        !file.takePlaceOf(*target))
        return fail(errno);
    return true;
}

}  // namespace ferrolt

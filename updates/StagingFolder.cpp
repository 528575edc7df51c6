#include "StagingFolder.h"

#include "RemoveTree.h"

#include <QString>
#include <QUuid>

#include <cerrno>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

// A constant without a destructor: a work-queue thread may outlive the static objects at the process's end.
constexpr std::string_view prefix = "ferrolt-libreoffice-";

/// Each attempt can lose its new folder to another process that looks for abandoned ones, once per process.
constexpr int maxAttempts = 10;

std::string newUuid() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
}

bool isStagingName(const std::string &name) {
    if (!name.starts_with(prefix))
        return false;
    const QString uuid = QString::fromStdString(name.substr(prefix.size()));
    return !QUuid::fromString(uuid).isNull() &&
           QUuid::fromString(uuid).toString(QUuid::WithoutBraces).toUpper() == uuid;
}

/// Opens and locks an abandoned folder; invalid when it is no folder, another user's, or in use: the process
/// that uses a folder holds its lock, and the system releases the lock when that process ends.
FileDescriptor lockAbandonedFolder(const fs::path &folder) {
    FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!opened.isValid() || fstat(opened.get(), &status) != 0 || status.st_uid != geteuid() ||
        flock(opened.get(), LOCK_EX | LOCK_NB) != 0)
        return {};
    return opened;
}

/// Locks a folder that was just created. Nothing when another process has taken it for abandoned in the
/// moment between: that process holds the lock, or has removed the folder already.
std::optional<FileDescriptor> lockNewFolder(const fs::path &folder) {
    FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened.isValid())
        return std::nullopt;
    if (flock(opened.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return std::nullopt;
        return FileDescriptor();  // some network file systems have no locks: go on without one
    }
    std::error_code failure;
    if (!fs::exists(folder, failure))
        return std::nullopt;
    return opened;
}

}  // namespace

std::optional<StagingFolder> StagingFolder::create(const fs::path &temporaryFolder,
                                                   std::error_code &failure) {
    fs::create_directories(temporaryFolder, failure);
    if (failure)
        return std::nullopt;
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        const fs::path folder = temporaryFolder / (std::string(prefix) + newUuid());
        // Mode 0700: in a shared /tmp another user could otherwise replace the image after its verification.
        if (mkdir(folder.c_str(), S_IRWXU) != 0) {
            failure = std::error_code(errno, std::generic_category());
            return std::nullopt;
        }
        if (auto lock = lockNewFolder(folder))
            return StagingFolder(folder, std::move(*lock));
        rmdir(folder.c_str());
    }
    failure = std::make_error_code(std::errc::resource_unavailable_try_again);
    return std::nullopt;
}

std::vector<StagingFolder> StagingFolder::abandoned(const fs::path &temporaryFolder) {
    std::vector<StagingFolder> found;
    std::error_code failure;
    for (fs::directory_iterator entry(temporaryFolder, failure), end; !failure && entry != end;
         entry.increment(failure))
        if (isStagingName(entry->path().filename().string()))
            if (FileDescriptor lock = lockAbandonedFolder(entry->path()); lock.isValid())
                found.push_back(StagingFolder(entry->path(), std::move(lock)));
    return found;
}

StagingFolder::~StagingFolder() {
    if (!folder.empty())
        removeTree(folder);
}

}  // namespace ferrolt

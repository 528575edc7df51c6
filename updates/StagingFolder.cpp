#include "StagingFolder.h"

#include "RemoveTree.h"

#include <QString>
#include <QUuid>

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

const std::string prefix = "ferrolt-libreoffice-";

std::string freshUuid() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
}

bool isStagingName(const std::string &name) {
    if (!name.starts_with(prefix))
        return false;
    const QString uuid = QString::fromStdString(name.substr(prefix.size()));
    return !QUuid::fromString(uuid).isNull() &&
           QUuid::fromString(uuid).toString(QUuid::WithoutBraces).toUpper() == uuid;
}

/// Opens and locks the folder, if it is one, the user's, and nobody else's in use. The lock goes with the
/// process.
FileDescriptor lockFolder(const fs::path &folder) {
    FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!opened.isValid() || fstat(opened.get(), &status) != 0 || status.st_uid != geteuid() ||
        flock(opened.get(), LOCK_EX | LOCK_NB) != 0)
        return {};
    return opened;
}

}  // namespace

std::optional<StagingFolder> StagingFolder::create(const fs::path &temporaryFolder,
                                                   std::error_code &failure) {
    fs::create_directories(temporaryFolder, failure);
    if (failure)
        return std::nullopt;
    const fs::path folder = temporaryFolder / (prefix + freshUuid());
    // The temporary folder may be everyone's, and what is verified in here must not be exchanged afterwards.
    if (mkdir(folder.c_str(), S_IRWXU) != 0) {
        failure = std::error_code(errno, std::generic_category());
        return std::nullopt;
    }
    return StagingFolder(folder, lockFolder(folder));
}

std::vector<StagingFolder> StagingFolder::abandoned(const fs::path &temporaryFolder) {
    std::vector<StagingFolder> found;
    std::error_code failure;
    for (fs::directory_iterator entry(temporaryFolder, failure), end; !failure && entry != end;
         entry.increment(failure))
        if (isStagingName(entry->path().filename().string()))
            if (FileDescriptor lock = lockFolder(entry->path()); lock.isValid())
                found.push_back(StagingFolder(entry->path(), std::move(lock)));
    return found;
}

StagingFolder::~StagingFolder() {
    if (!folder.empty())
        removeTree(folder);
}

}  // namespace ferrolt

#include "PrivateFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

FileDescriptor openPrivateFolder(const std::filesystem::path &path) {
    std::filesystem::path made;
    for (const std::filesystem::path &part : path) {
        made /= part;
        mkdir(made.c_str(), 0700);  // fails for existing folders, which stay unchanged
    }
    FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status {};
    if (!folder.isValid() || fstat(folder.get(), &status) != 0 || status.st_uid != geteuid())
        return {};
    if ((status.st_mode & 077) != 0 && fchmod(folder.get(), 0700) != 0)
        return {};
    return folder;
}

}  // namespace ferrolt

#include "ProgramFile.h"

#include "RunningProgram.h"

#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

// The kernel keeps the running file, so no other file gets its inode number while this process lives.
ProgramFile::ProgramFile() : path(runningProgram()) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        path.clear();
    device = status.st_dev;
    inode = status.st_ino;
}

bool ProgramFile::isReplaced() const {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && (status.st_dev != device || status.st_ino != inode) &&
           S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

}  // namespace ferrolt

#include "ProcessSetup.h"

#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace {

void openStandardDescriptors() {
    // open() returns the lowest free number. Without O_CLOEXEC, as usual for standard descriptors.
    for (int descriptor = 0; descriptor <= 2; ++descriptor)
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDWR) != descriptor)
            return;
}

bool isWritableFolder(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode) && access(path, W_OK | X_OK) == 0;
}

}  // namespace

void setUpProcess() {
    openStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    const char *home = std::getenv("HOME");
    if (home == nullptr || *home != '/') {
        const passwd *user = getpwuid(getuid());
        // /nonexistent is Debian's name for the home folder of users that have none.
        setenv("HOME", user != nullptr ? user->pw_dir : "/nonexistent", 1);
    }
    const char *temporary = std::getenv("TMPDIR");
    if (temporary != nullptr && !isWritableFolder(temporary))
        unsetenv("TMPDIR");
}

}  // namespace ferrolt

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
    // open() returns the lowest free number. Not closed on exec, as standard descriptors never are.
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
        // A user without an entry has no home folder; by this name Debian calls one that never exists.
        setenv("HOME", user != nullptr ? user->pw_dir : "/nonexistent", 1);
    }
    const char *temporary = std::getenv("TMPDIR");
    if (temporary != nullptr && !isWritableFolder(temporary))
        unsetenv("TMPDIR");
}

}  // namespace ferrolt

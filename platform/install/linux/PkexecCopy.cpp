#include "PkexecCopy.h"

#include "RunProcess.h"
#include "RunningProgram.h"

#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace fs = std::filesystem;

bool PkexecCopy::privilegedCopy(const fs::path &source, const fs::path &destination) {
    if (destination != places.application)
        return false;
    // An empty environment: pkexec refuses to start for a SHELL that is not in /etc/shells and for some
    // values of LC_* and TERM, and neither it nor the helper needs any variable. Its own agent, for
    // terminals, is off: in a background process it is stopped (SIGTTOU) when it asks for the password, and
    // pkexec waits for ever.
    std::vector<std::string> arguments{"-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", places.prompt.string(),
                                       "--disable-internal-agent"};
    if (isWritableByRootOnly(places.helper))
        arguments.push_back(places.helper.string());
    else
        arguments.insert(arguments.end(), {"/bin/sh", "-c", helperScript(), "install-libreoffice"});
    arguments.push_back(source.string());
    return runProcess("/usr/bin/env", arguments);
}

std::string PkexecCopy::missingProgram() const {
    if (access(places.prompt.c_str(), X_OK) != 0)
        return places.prompt.string();
    for (const char *program : {"setpriv", "tar", "flock", "find"})
        if (access(("/usr/bin/" + std::string(program)).c_str(), X_OK) != 0 &&
            access(("/bin/" + std::string(program)).c_str(), X_OK) != 0)
            return program;
    return {};
}

fs::path PkexecCopy::installedHelper() {
    return runningProgram().parent_path().parent_path() / FERROLT_INSTALLATION_HELPER;
}

bool PkexecCopy::isWritableByRootOnly(const fs::path &program) {
    struct stat status {};
    if (lstat(program.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
        access(program.c_str(), X_OK) != 0)
        return false;
    for (fs::path place = program;; place = place.parent_path()) {
        if (lstat(place.c_str(), &status) != 0 || status.st_uid != 0 ||
            (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
            return false;
        if (place == place.root_path())
            return true;
    }
}

}  // namespace ferrolt

#include "PkexecCopy.h"

#include "RunProcess.h"

namespace ferrolt {

namespace {

// The script never changes and the paths are its parameters, so nothing in a path is ever read by the shell.
// cp -a keeps modes, times and links, and copies a link as the link that it is. Neither cp -T nor mv -T goes
// into a folder that has appeared in their way, which would make an application within an application: a copy
// runs on as root when the launcher quits, and the next start's may meet it.
constexpr const char *script =
    "source=$1; destination=$2; parent=$3; new=$4\n"
    "/bin/rm -rf -- \"$new\" && /bin/mkdir -p -- \"$parent\" &&\n"
    "/bin/cp -aT -- \"$source\" \"$new\" && /bin/rm -rf -- \"$destination\" && /bin/mv -T -- \"$new\" "
    "\"$destination\" &&\n"
    "exit 0\n"
    "/bin/rm -rf -- \"$new\"\n"
    "exit 1\n";

}  // namespace

bool PkexecCopy::privilegedCopy(const std::filesystem::path &source,
                                const std::filesystem::path &destination) {
    const auto parent = destination.parent_path();
    const auto unfinished = parent / ("." + destination.filename().string() + ".ferrolt-new");
    return runProcess(prompt, {"/bin/sh", "-c", script, "ferrolt-install", source.string(),
                               destination.string(), parent.string(), unfinished.string()});
}

}  // namespace ferrolt

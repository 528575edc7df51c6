#include "ProgramFile.h"

#include <string>

#include <unistd.h>

namespace ferrolt {

// Launch Services takes a start for a reopen of this process as long as that runs, so a shell waits for its
// end. The second start is the reopen.
std::optional<LaunchError> ProgramFile::startReplacement() const {
    const auto bundle = path.parent_path().parent_path().parent_path();  // X.app/Contents/MacOS/program
    Process shell;
    shell.setExecutable("/bin/sh");
    shell.setArguments({"-c", "while kill -0 \"$1\"; do sleep 0.1; done; open \"$2\" && open \"$2\"", "sh",
                        std::to_string(getpid()), bundle});
    shell.setEnd(Process::End::OfItsOwn);
    return shell.launch();
}

}  // namespace ferrolt

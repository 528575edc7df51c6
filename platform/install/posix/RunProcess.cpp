#include "RunProcess.h"

#include "Process.h"

namespace ferrolt {

bool runProcess(const std::filesystem::path &executable, const std::vector<std::string> &arguments) {
    Process process;
    process.setExecutable(executable);
    process.setArguments(arguments);
    if (process.launch().has_value())
        return false;
    // A death by a signal reports the signal's number, which is never 0.
    return process.waitUntilExit() == 0;
}

}  // namespace ferrolt

#include "RunProcess.h"

#include "MainQueue.h"
#include "Process.h"

namespace ferrolt {

bool runProcess(const std::filesystem::path &executable, const std::vector<std::string> &arguments) {
    assertNotMainThread();
    Process process;
    process.setExecutable(executable);
    process.setArguments(arguments);
    if (process.launch().has_value())
        return false;
    // For a process ended by a signal this is the signal's number, never 0.
    return process.waitUntilExit() == 0;
}

}  // namespace ferrolt

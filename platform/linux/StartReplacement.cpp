#include "ProgramFile.h"

namespace ferrolt {

// Both starts wait for this process's end (SingleInstance). One of them then hands over to the other.
std::optional<LaunchError> ProgramFile::startReplacement() const {
    std::optional<LaunchError> error;
    for (int start = 0; start < 2 && !error; ++start) {
        Process process;
        process.setExecutable(path);
        process.setEnd(Process::End::OfItsOwn);
        error = process.launch();
    }
    return error;
}

}  // namespace ferrolt

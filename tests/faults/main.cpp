// faults-subject OPERATION FOLDER REPORT: prepares one operation of the product, stops itself by SIGSTOP, so
// that a tracer can attach and count the operation's own system calls only, and when continued does the
// operation and ends with status 0. The outcome is written into REPORT, an existing file of 64 KiB, through
// memory: a fault that is injected into a system call never changes the report.

#include "Operations.h"

#include <QCoreApplication>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <map>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

constexpr std::size_t reportSize = 65536;

char *mapReport(const char *path) {
    const int file = open(path, O_RDWR | O_CLOEXEC);
    void *const memory = mmap(nullptr, reportSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<char *>(memory);
}

const std::map<std::string, Operation (*)(const std::filesystem::path &folder)> operations{
    {"save-identity", saveIdentity},
    {"store-setting", storeSetting},
    {"launch-child", launchChild},
    {"install", install},
};

}  // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    if (argc == 3 && std::string(argv[1]) == "serve-installation")
        serveInstallation(argv[2]);
    const auto found = argc == 4 ? operations.find(argv[1]) : operations.end();
    char *const report = argc == 4 ? mapReport(argv[3]) : nullptr;
    if (found == operations.end() || report == nullptr) {
        std::fputs("usage: faults-subject OPERATION FOLDER REPORT\n", stderr);
        return 2;
    }
    const Operation operation = found->second(argv[2]);
    std::raise(SIGSTOP);
    const std::string outcome = operation();
    std::copy_n(outcome.data(), std::min(outcome.size(), reportSize - 1), report);
    _exit(0);
}

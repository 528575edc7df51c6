#include "Misbehaviour.h"
#include "Output.h"

#include <algorithm>
#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

// POSIX leaves this declaration to the program; some headers make it all the same.
extern char **environ;  // NOLINT(readability-redundant-declaration)

namespace ferrolt::practice {

namespace {

namespace fs = std::filesystem;

std::string entry(const std::string &name, std::string value) {
    for (auto at = value.find('\n'); at != std::string::npos; at = value.find('\n', at + 2))
        value.replace(at, 1, "\\n");
    return name + ": " + value + '\n';
}

std::string openDescriptors() {
    std::string text;
    // Asked for one by one: reading a list of them would need a descriptor itself.
    const long bound = std::min(sysconf(_SC_OPEN_MAX), 1L << 20);
    for (int descriptor = 0; descriptor < bound; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) < 0)
            continue;
        std::error_code failure;
        const auto target = fs::read_symlink("/dev/fd/" + std::to_string(descriptor), failure);
        text += entry("descriptor " + std::to_string(descriptor), failure ? "open" : target.string());
    }
    return text;
}

template <class Test>
std::string signalsThat(Test test) {
    std::string numbers;
    for (int signal = 1; signal < NSIG; ++signal)
        if (test(signal))
            numbers.append(numbers.empty() ? "" : " ").append(std::to_string(signal));
    return numbers.empty() ? "none" : numbers;
}

bool hasDisposition(int signal, bool (*test)(const struct sigaction &)) {
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && test(action);
}

std::string signals() {
    sigset_t blocked, pending;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    sigpending(&pending);
    const auto isIgnored = [](const struct sigaction &action) { return action.sa_handler == SIG_IGN; };
    const auto isCaught = [](const struct sigaction &action) {
        return action.sa_handler != SIG_IGN && action.sa_handler != SIG_DFL;
    };
    return entry("blocked signals",
                 signalsThat([&](int signal) { return sigismember(&blocked, signal) == 1; })) +
           entry("pending signals",
                 signalsThat([&](int signal) { return sigismember(&pending, signal) == 1; })) +
           entry("ignored signals",
                 signalsThat([&](int signal) { return hasDisposition(signal, isIgnored); })) +
           entry("caught signals", signalsThat([&](int signal) { return hasDisposition(signal, isCaught); }));
}

void report(const Words &) {
    std::string text =
        entry("process", std::to_string(getpid())) + entry("parent", std::to_string(getppid()));
    for (std::size_t index = 0; index < programArguments().size(); ++index)
        text += entry("argument " + std::to_string(index), programArguments()[index]);
    std::error_code failure;
    text += entry("folder", fs::current_path(failure).string());
    text += openDescriptors();
    text += signals();
    for (char **variable = environ; *variable != nullptr; ++variable)
        text += entry("environment", *variable);
    writeOut(text + "end of report\n");
}

constexpr Misbehaviour list[] = {
    {"report", "", 0, 0,
     "writes how it was started, a line for each fact, the last one \"end of report\": process: PID; parent: "
     "PID;\n"
     "argument 0: PATH, argument 1: ...; folder: PATH; descriptor 0: TARGET, ... for each open one (standard "
     "input's\n"
     "is descriptor 0); blocked signals, pending signals, ignored signals, caught signals: \"none\" or their "
     "numbers;\n"
     "environment: NAME=VALUE for each variable, with a line feed in it as \\n",
     report},
};

}  // namespace

std::span<const Misbehaviour> reports() {
    return list;
}

}  // namespace ferrolt::practice

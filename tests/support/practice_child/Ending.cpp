#include "Misbehaviour.h"

#include <chrono>
#include <climits>
#include <csignal>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

namespace ferrolt::practice {

namespace {

sigset_t only(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    return set;
}

void exitWith(const Words &arguments) {
    _exit(static_cast<int>(numberIn(arguments[0], 0, 255)));
}

void dieBySignal(const Words &arguments) {
    const int signal = static_cast<int>(numberIn(arguments[0], 1, NSIG - 1));
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    std::signal(signal, SIG_DFL);
    const sigset_t wanted = only(signal);
    sigprocmask(SIG_UNBLOCK, &wanted, nullptr);
    kill(getpid(), signal);
}

void ignoreTerminateRequest(const Words &) {
    std::signal(SIGTERM, SIG_IGN);
}

void wait(const Words &) {
    while (true)
        pause();
}

void pauseFor(const Words &arguments) {
    std::this_thread::sleep_for(std::chrono::milliseconds(numberIn(arguments[0], 0, INT_MAX)));
}

// main() has blocked the signal from the start, so that it may come before the child gets here.
void awaitSignal(const Words &arguments) {
    const sigset_t wanted = only(static_cast<int>(numberIn(arguments[0], 1, NSIG - 1)));
    int came = 0;
    sigwait(&wanted, &came);
}

constexpr Misbehaviour list[] = {
    {"exit", "N", 1, 1, "ends at once with status N, from 0 to 255", exitWith},
    {"signal", "N", 1, 1, "dies by the signal of that number, with its default action and no core file",
     dieBySignal},
    {"wait", "", 0, 0, "runs on and writes nothing until a signal ends it", wait},
    {"ignore-term", "", 0, 0, "ignores SIGTERM from here on", ignoreTerminateRequest},
    {"pause", "MS", 1, 1, "does nothing for MS milliseconds", pauseFor},
    {"await-signal", "N", 1, 1,
     "does nothing until the signal of that number has come; it may come at any time after the start",
     awaitSignal},
};

}  // namespace

std::span<const Misbehaviour> endings() {
    return list;
}

}  // namespace ferrolt::practice

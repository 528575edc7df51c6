#include "EndProcess.h"

#include "MainQueue.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <unistd.h>

// LeakSanitizer reports leaks in an exit handler, which std::_Exit() does not run.
#if defined(__SANITIZE_ADDRESS__)
#define FERROLT_LEAKS_ARE_CHECKED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FERROLT_LEAKS_ARE_CHECKED
#endif
#endif
#ifdef FERROLT_LEAKS_ARE_CHECKED
#include <sanitizer/lsan_interface.h>
#endif

namespace ferrolt {

namespace {

volatile std::sig_atomic_t pendingExitCode = 0;

}  // namespace

void endProcess(int exitCode) {
    std::fflush(nullptr);
#ifdef FERROLT_LEAKS_ARE_CHECKED
    __lsan_do_leak_check();
#endif
    std::_Exit(exitCode);
}

void endProcessSoon(int exitCode) {
    assertMainThread();
    pendingExitCode = exitCode;
    std::signal(SIGALRM, [](int) { std::_Exit(pendingExitCode); });
    ::alarm(1);
}

}  // namespace ferrolt

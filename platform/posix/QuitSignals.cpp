#include "QuitSignals.h"

#include "Pipe.h"

#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

#include <unistd.h>

namespace ferrolt {

namespace {

constexpr std::array quitSignals{SIGTERM, SIGINT, SIGHUP};
std::atomic<int> wakeUp = -1;

/// All that a signal handler may do: a byte into a pipe that the event loop watches.
void passOn(int) {
    const int before = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUp.load(), &byte, 1);
    errno = before;
}

void handleWith(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int signal : quitSignals) {
        // Who starts the launcher under nohup wants it to outlive the terminal.
        struct sigaction before {};
        const bool ignored = sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
        if (signal != SIGHUP || !ignored)
            sigaction(signal, &action, nullptr);
        sigaddset(&wanted, signal);
    }
    // Who starts the launcher may have them blocked, and that is inherited.
    pthread_sigmask(SIG_UNBLOCK, &wanted, nullptr);
}

}  // namespace

struct QuitSignals::State {
    Pipe pipe = Pipe::open();
    std::unique_ptr<QSocketNotifier> notifier;
};

QuitSignals::QuitSignals(std::function<void()> quit) : state(std::make_unique<State>()) {
    if (!state->pipe.readingEnd.isValid())
        return;
    state->notifier = std::make_unique<QSocketNotifier>(state->pipe.readingEnd.get(), QSocketNotifier::Read);
    QObject::connect(state->notifier.get(), &QSocketNotifier::activated, state->notifier.get(),
                     [this, quit = std::move(quit)] {
                         char bytes[16];
                         while (read(state->pipe.readingEnd.get(), bytes, sizeof bytes) > 0) {
                         }
                         quit();
                     });
    wakeUp = state->pipe.writingEnd.get();
    handleWith(passOn);
}

QuitSignals::~QuitSignals() {
    if (state->notifier)
        handleWith(SIG_DFL);
    wakeUp = -1;
}

}  // namespace ferrolt

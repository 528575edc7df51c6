#include "QuitSignals.h"

#include "MainQueue.h"
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
std::atomic<int> wakeUpPipe = -1;

/// Writes a byte into a pipe that the event loop watches; a signal handler may do little more.
void wakeEventLoop(int) {
    const int before = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUpPipe.load(), &byte, 1);
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
        // nohup sets SIGHUP to SIG_IGN, so that the program survives its terminal. Keep that.
        struct sigaction before {};
        const bool ignored = sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
        if (signal != SIGHUP || !ignored)
            sigaction(signal, &action, nullptr);
        sigaddset(&wanted, signal);
    }
    // A signal mask is inherited; the program that starts the launcher may have blocked these.
    pthread_sigmask(SIG_UNBLOCK, &wanted, nullptr);
}

}  // namespace

struct QuitSignals::State {
    Pipe pipe = Pipe::open();
    std::unique_ptr<QSocketNotifier> notifier;
};

QuitSignals::QuitSignals(std::function<void()> quit) : state(std::make_unique<State>()) {
    assertMainThread();
    Q_ASSERT(wakeUpPipe == -1);
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
    wakeUpPipe = state->pipe.writingEnd.get();
    handleWith(wakeEventLoop);
}

QuitSignals::~QuitSignals() {
    if (state->notifier)
        handleWith(SIG_DFL);
    wakeUpPipe = -1;
}

}  // namespace ferrolt

#include "EndRequest.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace ferrolt::practice {

namespace {

constexpr int endSignals[] = {SIGTERM, SIGINT, SIGHUP};

// What a signal handler may touch.
volatile std::sig_atomic_t signalThatCame = 0;
volatile std::sig_atomic_t writingEnd = -1;

extern "C" void noteEndSignal(int signal) {
    const int saved = errno;
    signalThatCame = signal;
    // The byte is never read, so the reading end stays readable. A full pipe says the same.
    [[maybe_unused]] const auto written = write(writingEnd, "", 1);
    errno = saved;
}

}  // namespace

EndRequest::EndRequest() {
    int ends[2];
    if (pipe(ends) != 0)
        std::abort();
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    readingEnd = ends[0];
    writingEnd = ends[1];
    // Without SA_RESTART: a blocking call that the signal interrupts has to return.
    struct sigaction action = {};
    action.sa_handler = noteEndSignal;
    sigemptyset(&action.sa_mask);
    for (const int signal : endSignals)
        sigaction(signal, &action, nullptr);
}

EndRequest::~EndRequest() {
    for (const int signal : endSignals)
        std::signal(signal, SIG_DFL);
    close(readingEnd);
    close(writingEnd);
}

bool EndRequest::hasCome() const {
    return signalThatCame != 0;
}

bool EndRequest::waitFor(std::chrono::milliseconds time) const {
    pollfd request{readingEnd, POLLIN, 0};
    // An interruption is the request itself: no other signal is handled here.
    poll(&request, 1, static_cast<int>(time.count()));
    return hasCome();
}

void EndRequest::end() const {
    const int signal = signalThatCame;
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    std::abort();
}

}  // namespace ferrolt::practice

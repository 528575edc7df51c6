#include "Misbehaviours.h"

#include "FloodText.h"
#include "Loopback.h"
#include "NumberedStream.h"
#include "Output.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <random>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace ferrolt::practice {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

long long number(const Words &arguments, std::size_t index, long long fallback = 0) {
    return index < arguments.size() ? std::stoll(arguments[index]) : fallback;
}

std::string text(const Words &arguments, std::size_t index) {
    return index < arguments.size() ? arguments[index] : std::string();
}

void pauseFor(long long count) {
    std::this_thread::sleep_for(milliseconds(count));
}

[[noreturn]] void waitInSilence() {
    for (;;)
        pause();
}

[[noreturn]] void waitForEver() {
    say("ready\n");
    waitInSilence();
}

sigset_t setOf(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    return set;
}

/// From here on the signal waits for awaitSignal() and does not end the program.
void blockSignal(int signal) {
    const sigset_t set = setOf(signal);
    sigprocmask(SIG_BLOCK, &set, nullptr);
}

void awaitSignal(int signal) {
    const sigset_t set = setOf(signal);
    int received = 0;
    sigwait(&set, &received);
}

int dieBy(int signal) {
    const sigset_t set = setOf(signal);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
    raise(signal);
    return 65;  // the signal is none that ends a program
}

/// Says so many pieces at an even rate, then waits.
template <typename Piece>
int sayAtRate(long long pieces, long long perSecond, const Piece &piece) {
    const auto begin = Clock::now();
    for (long long i = 0; i < pieces; ++i) {
        say(piece());
        std::this_thread::sleep_until(begin + nanoseconds(1'000'000'000) * (i + 1) / perSecond);
    }
    waitForEver();
}

int flood(const Words &arguments) {
    const long long blocks = number(arguments, 0, -1);
    std::string block = floodBlock(static_cast<std::size_t>(number(arguments, 1, 65536)), text(arguments, 2));
    for (long long i = 0; blocks < 0 || i < blocks; ++i) {
        numberFloodBlock(block, i);
        say(block);
    }
    return 0;
}

int timedFlood(const Words &arguments) {
    const std::string block(static_cast<std::size_t>(number(arguments, 1)), 't');
    std::vector<nanoseconds> durations(static_cast<std::size_t>(number(arguments, 0)));
    for (nanoseconds &duration : durations) {
        const auto begin = Clock::now();
        say(block);
        duration = Clock::now() - begin;
    }
    // Renamed when it is complete, so that a reader never finds half of it.
    const std::string file = text(arguments, 2);
    const std::string unfinished = file + ".part";
    std::ofstream lines(unfinished);
    for (const nanoseconds duration : durations)
        lines << duration.count() << '\n';
    lines.close();
    std::rename(unfinished.c_str(), file.c_str());
    waitForEver();
}

/// Two or three moods a second.
int moods(const Words &arguments) {
    std::minstd_rand random(static_cast<unsigned>(number(arguments, 0)));
    const std::string block(65536, 'm');
    for (;;) {
        const auto mood = random() % 3;
        const auto until = Clock::now() + milliseconds(100 + random() % 500);
        while (Clock::now() < until) {
            if (mood == 0)
                say(block);
            else if (mood == 1)
                pauseFor(10);
            else
                say(std::string(1, static_cast<char>('a' + random() % 26)));
        }
    }
}

int numbered(const Words &arguments) {
    const long long lines = number(arguments, 0);
    std::minstd_rand random(static_cast<unsigned>(number(arguments, 1)));
    std::string waiting;
    const auto sayPieces = [&](std::size_t leave) {
        while (waiting.size() > leave) {
            // Mostly a lot at once, sometimes a few bytes.
            const std::size_t piece = 1 + random() % (random() % 8 == 0 ? 5 : 100'000);
            say(waiting.substr(0, piece));
            waiting.erase(0, piece);
        }
    };
    for (long long i = 0; i < lines; ++i) {
        waiting += numberedLine(i);
        if (waiting.size() > 1'000'000)
            sayPieces(100'000);
    }
    sayPieces(0);
    return 0;
}

int relay(const Words &arguments) {
    // Opened for writing as well, the FIFO has no end of file when its other writers close it.
    const int source = open(text(arguments, 0).c_str(), O_RDWR | O_CLOEXEC);
    if (source < 0)
        return 66;
    say("ready\n");
    char bytes[65536];
    for (;;) {
        const ssize_t count = read(source, bytes, sizeof bytes);
        if (count > 0)
            say(std::string(bytes, static_cast<std::size_t>(count)));
        else if (count == 0 || errno != EINTR)
            return 66;
    }
}

int puppet(const Words &arguments) {
    sigset_t strings = setOf(SIGUSR1);
    sigaddset(&strings, SIGUSR2);
    sigprocmask(SIG_BLOCK, &strings, nullptr);
    say("ready\n");
    for (int received = 0; received != SIGUSR1;) {
        sigwait(&strings, &received);
        if (received == SIGUSR2) {
            std::signal(SIGTERM, SIG_IGN);
            say("deaf\n");
        }
    }
    return static_cast<int>(number(arguments, 0));
}

int leaveGrandchild(const Words &) {
    const pid_t grandchild = fork();
    if (grandchild == 0)
        waitInSilence();
    say("grandchild=" + std::to_string(grandchild) + '\n');
    return 0;
}

}  // namespace

const std::vector<Misbehaviour> &misbehaviours() {
    using W = const Words &;
    static const std::vector<Misbehaviour> all{
        {"wait", "says \"ready\" and waits to be ended", [](W) -> int { waitForEver(); }},
        {"silent", "writes nothing and waits to be ended", [](W) -> int { waitInSilence(); }},
        {"exit CODE", "ends at once", [](W a) { return static_cast<int>(number(a, 0)); }},
        {"line-exit CODE TEXT", "writes the text as a line, then ends",
         [](W a) {
             say(text(a, 1) + '\n');
             return static_cast<int>(number(a, 0));
         }},
        {"delay-exit MILLISECONDS CODE", "says \"ready\" and ends after the delay",
         [](W a) {
             say("ready\n");
             pauseFor(number(a, 0));
             return static_cast<int>(number(a, 1));
         }},
        {"exit-at-usr1 CODE", "says \"ready\" and ends at SIGUSR1",
         [](W a) {
             blockSignal(SIGUSR1);
             say("ready\n");
             awaitSignal(SIGUSR1);
             return static_cast<int>(number(a, 0));
         }},
        {"puppet CODE",
         "says \"ready\"; ends at SIGUSR1; from SIGUSR2 on, which it tells by \"deaf\", it ignores SIGTERM",
         puppet},
        {"complain TEXT", "writes the text as a line to standard error, then waits",
         [](W a) -> int {
             const std::string line = text(a, 0) + '\n';
             if (write(STDERR_FILENO, line.data(), line.size()) < 0)
                 return 66;
             waitInSilence();
         }},
        {"signal NUMBER", "dies by the signal", [](W a) { return dieBy(static_cast<int>(number(a, 0))); }},
        {"ignore-term", "ignores SIGTERM, says \"ready\" and waits",
         [](W) -> int {
             std::signal(SIGTERM, SIG_IGN);
             waitForEver();
         }},
        {"slow-term MILLISECONDS",
         "says \"ready\"; at SIGTERM waits for the delay, says \"ending\" and dies of it",
         [](W a) {
             blockSignal(SIGTERM);
             say("ready\n");
             awaitSignal(SIGTERM);
             pauseFor(number(a, 0));
             say("ending\n");
             return dieBy(SIGTERM);
         }},
        {"slow-port PORT MILLISECONDS",
         "listens on the port of 127.0.0.1 and says \"ready\"; at SIGTERM ends after the delay",
         [](W a) {
             blockSignal(SIGTERM);
             listenOnLoopback(static_cast<int>(number(a, 0)));
             say("ready\n");
             awaitSignal(SIGTERM);
             pauseFor(number(a, 1));
             return 0;
         }},
        {"flood [BLOCKS [BYTES [characters|colours|binary]]]",
         "writes that many blocks (64 KiB each) of plain or other text; without end if BLOCKS is missing or "
         "-1",
         flood},
        {"timed BLOCKS BYTES FILE",
         "floods, writes a line into the file for each write, how many nanoseconds it took, then waits",
         timedFlood},
        {"chatter WRITES BYTES PER-SECOND", "writes small pieces at a rate, then waits",
         [](W a) {
             const auto size = static_cast<std::size_t>(number(a, 1));
             return sayAtRate(number(a, 0), number(a, 2), [&] { return std::string(size - 1, 'c') + '\n'; });
         }},
        {"clock WRITES PER-SECOND", "writes its clock, in nanoseconds, a line at a time, then waits",
         [](W a) {
             return sayAtRate(number(a, 0), number(a, 1), [] {
                 return std::to_string(nanoseconds(Clock::now().time_since_epoch()).count()) + '\n';
             });
         }},
        {"moods SEED", "floods, is silent, or writes single characters, in an order set by the seed", moods},
        {"numbered LINES SEED",
         "writes numbered lines in pieces set by the seed, which end within characters too, then ends",
         numbered},
        {"relay PIPE", "says \"ready\", then writes what others write into the named pipe", relay},
        {"close-output", "says \"closing\", closes its output and runs on",
         [](W) -> int {
             say("closing\n");
             close(STDOUT_FILENO);
             close(STDERR_FILENO);
             waitInSilence();
         }},
        {"grandchild", "ends, and leaves a grandchild that holds the pipe", leaveGrandchild},
        {"facts", "says what it was given",
         [](W) {
             say(factsAboutThisProcess());
             return 0;
         }},
        {"facts-wait", "says what it was given, then \"ready\", and waits",
         [](W) -> int {
             say(factsAboutThisProcess());
             waitForEver();
         }},
    };
    return all;
}

}  // namespace ferrolt::practice

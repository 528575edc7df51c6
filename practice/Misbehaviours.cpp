#include "Misbehaviours.h"

#include "FloodText.h"
#include "NumberedStream.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

long long number(const Words &arguments, std::size_t index, long long otherwise) {
    return index < arguments.size() ? std::stoll(arguments[index]) : otherwise;
}

std::string text(const Words &arguments, std::size_t index) {
    return index < arguments.size() ? arguments[index] : std::string();
}

void pauseFor(long long milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

int waitForEver() {
    say("ready\n");
    for (;;)
        pause();
}

std::string bytesOf(const std::string &hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return bytes;
}

/// As an engine does: ends at once where the port is taken, and keeps it while it ends.
int holdPort(long long port, long long milliseconds) {
    sigset_t request;
    sigemptyset(&request);
    sigaddset(&request, SIGTERM);
    sigprocmask(SIG_BLOCK, &request, nullptr);
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int reuse = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener, SOMAXCONN) != 0) {
        say("the port is taken\n");
        return 1;
    }
    say("ready\n");
    int signal = 0;
    sigwait(&request, &signal);
    pauseFor(milliseconds);
    return 0;
}

int flood(long long blocks, std::size_t size, const std::string &kind) {
    std::string block = ferrolt::floodBlock(size, kind);
    for (long long i = 0; blocks < 0 || i < blocks; ++i) {
        ferrolt::numberFloodBlock(block, i);
        say(block);
    }
    return 0;
}

/// How long each write took comes into the file at the end, a line of nanoseconds for each.
int timedFlood(long long blocks, std::size_t size, const std::string &file) {
    const std::string block(size, 't');
    std::vector<std::chrono::nanoseconds> durations;
    durations.reserve(static_cast<std::size_t>(blocks));
    for (long long i = 0; i < blocks; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        say(block);
        durations.push_back(std::chrono::steady_clock::now() - begin);
    }
    const std::string unfinished = file + ".part";
    std::ofstream lines(unfinished);
    for (const std::chrono::nanoseconds duration : durations)
        lines << duration.count() << '\n';
    lines.close();
    std::rename(unfinished.c_str(), file.c_str());
    return waitForEver();
}

/// Changes between its moods two or three times a second, in an order that the seed sets. Without end if
/// `length`, in milliseconds, is negative.
int moods(unsigned seed, long long length) {
    std::minstd_rand random(seed);
    const std::string block(65536, 'm');
    const auto begin = std::chrono::steady_clock::now();
    const auto isOver = [&] {
        return length >= 0 && std::chrono::steady_clock::now() - begin > std::chrono::milliseconds(length);
    };
    while (!isOver()) {
        const auto mood = random() % 3;
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(100 + random() % 500);
        while (std::chrono::steady_clock::now() < until) {
            if (mood == 0)
                say(block);
            else if (mood == 1)
                pauseFor(10);
            else
                say(std::string(1, static_cast<char>('a' + random() % 26)));
        }
    }
    return 0;
}

int numbered(long long lines, unsigned seed) {
    std::minstd_rand random(seed);
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

/// `pipe` is a FIFO. Opened for writing, too, it has no end when its other writers go.
int relay(const std::string &pipe) {
    const int source = open(pipe.c_str(), O_RDWR | O_CLOEXEC);
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

int leaveGrandchild(const std::string &then) {
    const pid_t grandchild = fork();
    if (grandchild == 0) {
        for (;;)
            pause();
    }
    say("grandchild=" + std::to_string(grandchild) + '\n');
    return then == "exit" ? 0 : waitForEver();
}

int die(int signal) {
    raise(signal);
    return 65;  // the signal was no deadly one
}

}  // namespace

void say(const std::string &bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const ssize_t count = write(STDOUT_FILENO, bytes.data() + at, bytes.size() - at);
        if (count < 0)
            _exit(66);
        at += static_cast<std::size_t>(count);
    }
}

const std::vector<Misbehaviour> &misbehaviours() {
    using W = const Words &;
    static const std::vector<Misbehaviour> all{
        {"wait", "says \"ready\" and waits to be ended", [](W, W) { return waitForEver(); }},
        {"silent", "writes nothing and waits to be ended",
         [](W, W) -> int {
             for (;;)
                 pause();
         }},
        {"exit CODE", "ends at once", [](W a, W) { return static_cast<int>(number(a, 0, 0)); }},
        {"line-exit CODE TEXT", "writes the text as a line, then ends",
         [](W a, W) {
             say(text(a, 1) + '\n');
             return static_cast<int>(number(a, 0, 0));
         }},
        {"delay-exit MILLISECONDS CODE", "says \"ready\" and ends after the delay",
         [](W a, W) {
             say("ready\n");
             pauseFor(number(a, 0, 0));
             return static_cast<int>(number(a, 1, 0));
         }},
        {"exit-at-usr1 CODE", "says \"ready\" and ends at SIGUSR1",
         [](W a, W) {
             sigset_t request;
             sigemptyset(&request);
             sigaddset(&request, SIGUSR1);
             sigprocmask(SIG_BLOCK, &request, nullptr);
             say("ready\n");
             int signal = 0;
             sigwait(&request, &signal);
             return static_cast<int>(number(a, 0, 0));
         }},
        {"complain TEXT", "writes the text as a line to standard error, then waits",
         [](W a, W) -> int {
             const std::string line = text(a, 0) + '\n';
             if (write(STDERR_FILENO, line.data(), line.size()) < 0)
                 return 66;
             for (;;)
                 pause();
         }},
        {"signal NUMBER", "dies by the signal",
         [](W a, W) { return die(static_cast<int>(number(a, 0, SIGKILL))); }},
        {"ignore-term", "ignores the terminate request",
         [](W, W) {
             std::signal(SIGTERM, SIG_IGN);
             return waitForEver();
         }},
        {"slow-term MILLISECONDS",
         "at the terminate request waits for the delay, says \"ending\" and dies of it",
         [](W a, W) {
             sigset_t request;
             sigemptyset(&request);
             sigaddset(&request, SIGTERM);
             sigprocmask(SIG_BLOCK, &request, nullptr);
             say("ready\n");
             int signal = 0;
             sigwait(&request, &signal);
             pauseFor(number(a, 0, 0));
             say("ending\n");
             sigprocmask(SIG_UNBLOCK, &request, nullptr);
             return die(SIGTERM);
         }},
        {"slow-port PORT MILLISECONDS",
         "listens on the port of the loopback address, and at the terminate request ends after the delay",
         [](W a, W) { return holdPort(number(a, 0, 0), number(a, 1, 0)); }},
        {"flood [BLOCKS [BYTES [characters|colours|binary]]]",
         "writes that many blocks (64 KiB each) of plain or other text, or without end",
         [](W a, W) {
             return flood(number(a, 0, -1), static_cast<std::size_t>(number(a, 1, 65536)), text(a, 2));
         }},
        {"timed BLOCKS BYTES FILE",
         "floods, writes into the file how long each write took, in nanoseconds, then waits",
         [](W a, W) {
             return timedFlood(number(a, 0, 1000), static_cast<std::size_t>(number(a, 1, 65536)), text(a, 2));
         }},
        {"chatter WRITES BYTES PER-SECOND", "writes small pieces at a rate, then waits",
         [](W a, W) {
             const auto begin = std::chrono::steady_clock::now();
             const std::string piece(static_cast<std::size_t>(number(a, 1, 100)) - 1, 'c');
             for (long long i = 0; i < number(a, 0, 1000); ++i) {
                 say(piece + '\n');
                 std::this_thread::sleep_until(begin + std::chrono::nanoseconds(1'000'000'000) * (i + 1) /
                                                           number(a, 2, 1000));
             }
             return waitForEver();
         }},
        {"clock WRITES PER-SECOND", "writes its clock, in nanoseconds, a line at a time, then waits",
         [](W a, W) {
             const auto begin = std::chrono::steady_clock::now();
             for (long long i = 0; i < number(a, 0, 1000); ++i) {
                 say(std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()) + '\n');
                 std::this_thread::sleep_until(begin + std::chrono::nanoseconds(1'000'000'000) * (i + 1) /
                                                           number(a, 1, 100));
             }
             return waitForEver();
         }},
        {"moods SEED [MILLISECONDS]",
         "floods, is silent, or writes single characters, as the seed has it; then ends",
         [](W a, W) { return moods(static_cast<unsigned>(number(a, 0, 1)), number(a, 1, -1)); }},
        {"numbered LINES SEED",
         "writes numbered lines in pieces that the seed sets, through characters too, then ends",
         [](W a, W) { return numbered(number(a, 0, 1000), static_cast<unsigned>(number(a, 1, 1))); }},
        {"bytes HEX...", "writes the bytes of each argument in a write of its own, 100 ms apart, then waits",
         [](W a, W) -> int {
             for (const std::string &hex : a) {
                 say(bytesOf(hex));
                 pauseFor(100);
             }
             for (;;)
                 pause();
         }},
        {"relay PIPE", "says \"ready\", then writes what others write into the named pipe",
         [](W a, W) { return relay(text(a, 0)); }},
        {"close-output", "says \"closing\", closes its output and runs on",
         [](W, W) -> int {
             say("closing\n");
             close(STDOUT_FILENO);
             close(STDERR_FILENO);
             for (;;)
                 pause();
         }},
        {"grandchild exit|wait", "leaves a grandchild on the pipe, then ends or waits",
         [](W a, W) { return leaveGrandchild(text(a, 0)); }},
        {"facts", "tells what it was given",
         [](W, W commandLine) {
             say(factsAboutThisProcess(commandLine));
             return 0;
         }},
        {"facts-wait", "tells what it was given, then waits",
         [](W, W commandLine) {
             say(factsAboutThisProcess(commandLine));
             return waitForEver();
         }},
    };
    return all;
}

// How long launching a child keeps the main thread while the launcher holds half a gigabyte.

#include "FileDescriptor.h"
#include "LauncherFigures.h"
#include "Measuring.h"
#include "OutputReader.h"
#include "Peers.h"
#include "Pipe.h"
#include "Process.h"

#include <cstring>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ferrolt::bench {

namespace {

constexpr std::size_t held = 500'000'000;
constexpr int launchesOfOneRun = 50;

double launchOnce() {
    Process process;
    process.setExecutable(FERROLT_PRACTICE_CHILD);
    process.setArguments({"exit", "0"});
    const double took = seconds([&] {
        if (process.launch())
            giveUp("A child does not start.");
    });
    process.waitUntilExit();
    return took * 1000;
}

/// With all that the launcher sets up around a child: a pipe, and the thread that reads it.
double launchWithLogOnce() {
    Process process;
    const double took = seconds([&] {
        process.setExecutable(FERROLT_PRACTICE_CHILD);
        process.setArguments({"exit", "0"});
        Pipe pipe = Pipe::open();
        process.setOutput(std::move(pipe.writingEnd));
        const auto observer = OutputReader::attachReader(
            std::move(pipe.readingEnd), [](auto elements) { return elements; },
            [] { return LogAudience::Nobody; });
        if (!observer)
            giveUp("A child's output cannot be read.");
        process.setStartHook([observer] { return observer->begin(); });
        process.setExitHook([observer] { observer->childHasEnded(); });
        if (process.launch())
            giveUp("A child does not start.");
    });
    process.waitUntilExit();
    return took * 1000;
}

double spawnOnce() {
    const Words words = practiceChild({"exit", "0"});
    pid_t child = 0;
    const double took = seconds([&] { child = spawn(words); });
    waitpid(child, nullptr, 0);
    return took * 1000;
}

/// With a pipe and a thread that reads it, as anybody would do it who wants a child's output.
double spawnAndReadOnce() {
    const Words words = practiceChild({"exit", "0"});
    pid_t child = 0;
    std::thread reader;
    const double took = seconds([&] {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0)
            giveUp("There is no pipe.");
        FileDescriptor writing(ends[1]);
        reader = std::thread([reading = FileDescriptor(ends[0])] {
            char bytes[4096];
            while (read(reading.get(), bytes, sizeof bytes) > 0) {
            }
        });
        child = spawn(words, -1, writing.get());
    });
    waitpid(child, nullptr, 0);
    reader.join();
    return took * 1000;
}

/// One sample of each for a run.
struct Summary {
    Samples median;
    Samples quick;
    Samples worst;

    void add(const Samples &launches) {
        median.push_back(bench::median(launches));
        quick.push_back(quantile(launches, 0.1));
        worst.push_back(quantile(launches, 1));
    }
};

}  // namespace

void launchWithManyPages(const Options &options) {
    const auto pages = std::make_unique<char[]>(held);
    std::memset(pages.get(), 1, held);
    Summary ours;
    Summary withLog;
    Summary spawned;
    Summary spawnedAndRead;
    for (int run = 0; run < options.runs; ++run) {
        Samples launches;
        Samples launchesWithLog;
        Samples spawns;
        Samples spawnsAndReads;
        for (int i = 0; i < launchesOfOneRun; ++i) {
            launches.push_back(launchOnce());
            spawns.push_back(spawnOnce());
            launchesWithLog.push_back(launchWithLogOnce());
            spawnsAndReads.push_back(spawnAndReadOnce());
        }
        ours.add(launches);
        withLog.add(launchesWithLog);
        spawned.add(spawns);
        spawnedAndRead.add(spawnsAndReads);
    }
    const char *const peer = "posix_spawn";
    const char *const readingPeer = "posix_spawn, reading thread";
    report({"launching a child with 500 MB resident", "ms", ours.median, peer, spawned.median, Judged::Ratio,
            Goal::AtMost, 2});
    report({.what = "the same, 1 of 10 is quicker",
            .unit = "ms",
            .ours = ours.quick,
            .peerName = peer,
            .peer = spawned.quick});
    report({.what = "the same, worst of 50",
            .unit = "ms",
            .ours = ours.worst,
            .peerName = peer,
            .peer = spawned.worst});
    report({"launching it with its pipe and reader", "ms", withLog.median, readingPeer, spawnedAndRead.median,
            Judged::Ratio, Goal::AtMost, 2});
    report({.what = "the same, worst of 50",
            .unit = "ms",
            .ours = withLog.worst,
            .peerName = readingPeer,
            .peer = spawnedAndRead.worst});
}

}  // namespace ferrolt::bench

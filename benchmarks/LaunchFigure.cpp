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
        const auto observer = OutputReader::attachReader(std::move(pipe.readingEnd), [](const auto &) {});
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

/// With a pipe and a thread that reads it. The child is started first, as by the launcher: a spawn beside a
/// thread that is just starting takes several times as long.
double spawnAndReadOnce() {
    const Words words = practiceChild({"exit", "0"});
    pid_t child = 0;
    std::thread reader;
    const double took = seconds([&] {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0)
            giveUp("There is no pipe.");
        FileDescriptor reading(ends[0]);
        const FileDescriptor writing(ends[1]);
        child = spawn(words, -1, writing.get());
        reader = std::thread([reading = std::move(reading)] {
            char bytes[4096];
            while (read(reading.get(), bytes, sizeof bytes) > 0) {
            }
        });
    });
    waitpid(child, nullptr, 0);
    reader.join();
    return took * 1000;
}

/// Waits for the end of the previous launch's threads: a launch beside a thread that is just ending takes
/// several times as long.
void awaitThreads(long count) {
    runUntil([&] { return statusOf(getpid(), "Threads:") == count; }, "the end of a launch's threads");
}

/// One sample of each for a run.
struct Launches {
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
    Launches ours;
    Launches withLog;
    Launches spawned;
    Launches spawnedAndRead;
    for (int run = 0; run < options.runs; ++run) {
        Samples launches;
        Samples launchesWithLog;
        Samples spawns;
        Samples spawnsAndReads;
        const auto measure = [threads = statusOf(getpid(), "Threads:")](Samples &samples, auto launch) {
            awaitThreads(threads);
            samples.push_back(launch());
        };
        for (int i = 0; i < launchesOfOneRun; ++i) {
            measure(launches, launchOnce);
            measure(spawns, spawnOnce);
            measure(launchesWithLog, launchWithLogOnce);
            measure(spawnsAndReads, spawnAndReadOnce);
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
    report({.what = "the same, worst",
            .unit = "ms",
            .ours = ours.worst,
            .peerName = peer,
            .peer = spawned.worst,
            .summary = Summary::Worst});
    report({"launching it with its pipe and reader", "ms", withLog.median, readingPeer, spawnedAndRead.median,
            Judged::Ratio, Goal::AtMost, 2});
    report({.what = "the same, 1 of 10 is quicker",
            .unit = "ms",
            .ours = withLog.quick,
            .peerName = readingPeer,
            .peer = spawnedAndRead.quick});
    report({.what = "the same, worst",
            .unit = "ms",
            .ours = withLog.worst,
            .peerName = readingPeer,
            .peer = spawnedAndRead.worst,
            .summary = Summary::Worst});
}

}  // namespace ferrolt::bench

// What one or two children that write as fast as they can get through, and what that does to the window and
// to memory.

#include "LauncherFigures.h"
#include "Peers.h"
#include "Scene.h"

#include <unistd.h>

namespace ferrolt::bench {

namespace {

using namespace std::chrono_literals;

constexpr double mega = 1e6;

/// Megabytes a second that these children write, all together.
double writtenBy(const std::vector<pid_t> &children, std::chrono::milliseconds length) {
    const auto written = [&] {
        double sum = 0;
        for (const pid_t child : children)
            sum += bytesWrittenBy(child);
        return sum;
    };
    const double before = written();
    const double took = seconds([&] { runFor(length); });
    return (written() - before) / took / mega;
}

void reportTerminals(const Options &options, double ours) {
    for (const std::string terminal : {"konsole", "xterm"}) {
        if (const auto rate = throughputInTerminal(terminal, options.length))
            report({.what = "the same child in " + terminal,
                    .unit = "MB/s",
                    .ours = {ours},
                    .peerName = terminal,
                    .peer = {*rate / mega}});
        else
            note(terminal + " is not installed, and was left out.");
    }
}

}  // namespace

void throughputOfOneChild(const Options &options) {
    Samples wide;
    Samples narrow;
    Samples cat;
    for (int run = 0; run < options.runs; ++run) {
        Scene scene("flood");
        scene.open();
        wide.push_back(writtenBy({scene.engine()}, options.length));
        narrowPipeOf(scene.engine());
        narrow.push_back(writtenBy({scene.engine()}, options.length));
        scene.vars().stopAll();
        runFor(200ms);
        cat.push_back(throughputIntoCat(options.length) / mega);
    }
    report({"one child floods, window on Home, pipe widened", "MB/s", wide, "cat", cat, Judged::Ratio,
            Goal::AtLeast, 1.5});
    report({"the same with the pipe as it comes", "MB/s", narrow, "cat", cat, Judged::Ratio, Goal::AtLeast,
            0.8});
    reportTerminals(options, median(wide));
    const QueuedTextEdit edit = queuedTextEdit({"flood"}, options.length);
    report({.what = "the same child in a QPlainTextEdit",
            .unit = "MB/s",
            .ours = {median(wide)},
            .peerName = "QPlainTextEdit",
            .peer = {edit.bytesShownPerSecond / mega}});
}

void throughputOfBothChildren(const Options &options) {
    Samples wide;
    Samples narrow;
    for (int run = 0; run < options.runs; ++run) {
        Scene scene("flood", "flood");
        scene.open();
        wide.push_back(writtenBy({scene.engine(), scene.client()}, options.length));
        narrowPipeOf(scene.engine());
        narrowPipeOf(scene.client());
        runFor(100ms);
        narrow.push_back(writtenBy({scene.engine(), scene.client()}, options.length));
    }
    report({"both children flood, pipes widened", "MB/s", wide, "not widened", narrow, Judged::Ratio,
            Goal::AtLeast, 1.0});
}

void stallInTheFlood(const Options &options) {
    Samples p99;
    Samples worst;
    Samples memory;
    Samples growth;
    for (int run = 0; run < options.runs; ++run) {
        Scene scene("flood", "flood");
        scene.open();
        runFor(2s);
        const double before = residentMegabytes(getpid());
        {
            StallProbe probe;
            runFor(500ms);
            probe.take();
            runFor(options.length);
            const Samples waits = probe.take();
            p99.push_back(quantile(waits, 0.99));
            worst.push_back(quantile(waits, 1));
        }
        memory.push_back(residentMegabytes(getpid()));
        growth.push_back(memory.back() - before);
    }
    const QueuedTextEdit edit = queuedTextEdit({"flood"}, options.length);
    const Samples editStall(p99.size(), edit.worstStall);
    const Samples editMemory(p99.size(), edit.megabytes);
    report({"main thread's stall, both flood: 99 of 100", "ms", p99, "QPlainTextEdit's worst", editStall,
            Judged::Ours, Goal::AtMost, 8});
    report({"main thread's stall, both flood: worst", "ms", worst, "QPlainTextEdit's worst", editStall,
            Judged::Ours, Goal::AtMost, 33});
    report({"resident memory, both flood", "MB", memory, "QPlainTextEdit", editMemory, Judged::Ours,
            Goal::AtMost, 2 * 1000 * 65536 / mega + 80});
    report({"its growth over the run", "MB", growth, "", {}, Judged::Ours, Goal::AtMost, 4});
}

}  // namespace ferrolt::bench

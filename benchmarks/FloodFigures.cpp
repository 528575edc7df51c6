// What one or two children that write as fast as they can get through, and what that does to the window and
// to memory.

#include "FloodCheck.h"
#include "LauncherFigures.h"
#include "Peers.h"
#include "Scene.h"

#include <unistd.h>

namespace ferrolt::bench {

namespace {

using namespace std::chrono_literals;

constexpr double mega = 1e6;

/// Megabytes a second that these children write, all together, while that is done.
template <class Work>
double writtenBy(const std::vector<pid_t> &children, Work work) {
    const auto written = [&] {
        double sum = 0;
        for (const pid_t child : children)
            sum += bytesWrittenBy(child);
        return sum;
    };
    const double before = written();
    const double took = seconds(work);
    return (written() - before) / took / mega;
}

double writtenBy(const std::vector<pid_t> &children, std::chrono::milliseconds length) {
    return writtenBy(children, [&] { runFor(length); });
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

struct Stall : Tail {
    /// Adds what there is of it in that time. At rest, so that nothing of the start is in it.
    void measure(std::chrono::milliseconds length) {
        StallProbe probe;
        runFor(500ms);
        probe.take();
        runFor(length);
        add(probe.take());
    }
};

}  // namespace

void throughputOfOneChild(const Options &options) {
    Samples wide;
    Samples narrow;
    Samples cat;
    Samples edit;
    for (int run = 0; run < options.runs; ++run) {
        {
            Scene scene("flood");
            scene.open();
            wide.push_back(writtenBy({scene.engine()}, options.length));
            narrowPipeOf(scene.engine());
            narrow.push_back(writtenBy({scene.engine()}, options.length));
            requireFloodInLog(scene.engine(), scene.vars().lumoraLog());
            scene.vars().stopAll();
            runFor(200ms);
            cat.push_back(throughputIntoCat(options.length) / mega);
        }
        edit.push_back(queuedTextEdit({"flood"}, options.length).bytesShownPerSecond / mega);
    }
    report({"one child floods, window on Home, pipe widened", "MB/s", wide, "cat", cat, Judged::Ratio,
            Goal::AtLeast, 1.5});
    report({"the same with the pipe as it comes", "MB/s", narrow, "cat", cat, Judged::Ratio, Goal::AtLeast,
            0.8});
    reportTerminals(options, median(wide));
    report({.what = "the same child in a QPlainTextEdit",
            .unit = "MB/s",
            .ours = wide,
            .peerName = "QPlainTextEdit",
            .peer = edit});
}

void throughputOfBothChildren(const Options &options) {
    Samples wide;
    Samples narrow;
    for (int run = 0; run < options.runs; ++run) {
        // In turn, so that neither is always the one that comes later.
        const bool isNarrowFirst = run % 2 == 1;
        for (const bool isNarrow : {isNarrowFirst, !isNarrowFirst}) {
            Scene scene("flood", "flood");
            scene.open();
            if (isNarrow) {
                narrowPipeOf(scene.engine());
                narrowPipeOf(scene.client());
            }
            runFor(100ms);
            (isNarrow ? narrow : wide).push_back(writtenBy({scene.engine(), scene.client()}, options.length));
            requireFloodInLog(scene.engine(), scene.vars().lumoraLog());
            requireFloodInLog(scene.client(), scene.vars().qorClientLog());
        }
    }
    report({"both children flood, pipes widened", "MB/s", wide, "not widened", narrow, Judged::Ratio,
            Goal::AtLeast, 0.9});
}

void stallInTheFlood(const Options &options) {
    Stall stall;
    Samples memory;
    Samples growth;
    Samples closed;
    Samples editStall;
    Samples editMemory;
    for (int run = 0; run < options.runs; ++run) {
        {
            Scene scene("flood", "flood");
            scene.open();
            runFor(2s);
            const double before = residentMegabytes(getpid());
            forgetMaxResident();
            stall.measure(options.length);
            memory.push_back(maxResidentMegabytes());
            growth.push_back(residentMegabytes(getpid()) - before);
            scene.window->close();
            runFor(300ms);
            const double spent = threadSeconds();
            const double took = seconds([&] { runFor(options.length); });
            closed.push_back((threadSeconds() - spent) / took * 100);
        }
        const QueuedTextEdit edit = queuedTextEdit({"flood"}, options.length);
        editStall.push_back(edit.worstStall);
        editMemory.push_back(edit.megabytes);
    }
    report({"main thread's stall, both flood: 99 of 100", "ms", stall.p99, "QPlainTextEdit's worst",
            editStall, Judged::Ours, Goal::AtMost, 8});
    report({"main thread's stall, both flood: worst", "ms", stall.worst, "QPlainTextEdit's worst", editStall,
            Judged::Ours, Goal::AtMost, 33, Summary::Worst});
    report({"max resident memory, both flood", "MB", memory, "QPlainTextEdit", editMemory, Judged::Ours,
            Goal::AtMost, 2 * 1000 * 65536 / mega + 80, Summary::Worst});
    report({"its growth over the run", "MB", growth, "", {}, Judged::Ours, Goal::AtMost, 4});
    report({"main thread, both flood, window closed",
            "% of a core",
            closed,
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            6});
}

void otherText(const Options &options) {
    for (const std::string kind : {"characters", "colours", "binary"}) {
        Samples ours;
        Samples cat;
        Samples memory;
        Stall stall;
        const std::string behaviour = "flood -1 65536 " + kind;
        for (int run = 0; run < options.runs; ++run) {
            Scene scene(behaviour, behaviour);
            scene.open();
            runFor(500ms);
            forgetMaxResident();
            const std::vector<pid_t> children{scene.engine(), scene.client()};
            ours.push_back(writtenBy(children, [&] { stall.measure(options.length); }));
            memory.push_back(maxResidentMegabytes());
            requireFloodInLog(scene.engine(), scene.vars().lumoraLog(), kind);
            requireFloodInLog(scene.client(), scene.vars().qorClientLog(), kind);
            scene.vars().stopAll();
            runFor(200ms);
            cat.push_back(throughputIntoCat(options.length / 2, {"flood", "-1", "65536", kind}) / mega);
        }
        report({.what = "both flood with " + kind,
                .unit = "MB/s",
                .ours = ours,
                .peerName = "cat, one",
                .peer = cat});
        report({"the same, main thread's stall: 99 of 100",
                "ms",
                stall.p99,
                "",
                {},
                Judged::Ours,
                Goal::AtMost,
                8});
        report({"the same, main thread's stall: worst",
                "ms",
                stall.worst,
                "",
                {},
                Judged::Ours,
                Goal::AtMost,
                33,
                Summary::Worst});
        report({"the same, max resident memory",
                "MB",
                memory,
                "",
                {},
                Judged::Ours,
                Goal::AtMost,
                2 * 1000 * 65536 / mega + 80,
                Summary::Worst});
    }
}

}  // namespace ferrolt::bench

// Whether hours of bad weather leave anything behind: memory, descriptors, threads and files have to stay
// where they are.

#include "LauncherFigures.h"
#include "ProcessFacts.h"
#include "Scene.h"

#include <QDir>
#include <QDirIterator>

#include <algorithm>
#include <cstdio>

#include <unistd.h>

namespace ferrolt::bench {

using namespace std::chrono_literals;

namespace {

/// The home folder and the one for temporary files; ./bench gives both to this run alone.
double filesLeft() {
    int count = 0;
    for (const QString &folder : {QDir::homePath(), QDir::tempPath()}) {
        QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        for (; entries.hasNext(); ++count)
            entries.next();
    }
    return count;
}

/// What may grow.
struct Taken {
    double megabytes = 0;
    double descriptors = 0;
    double threads = 0;
    double files = 0;
};

Taken takenNow() {
    return {residentMegabytes(getpid()), double(openDescriptors()), double(threadsNamed("")), filesLeft()};
}

/// The same over a fifth of the time.
struct Fifth {
    Samples megabytes;
    Samples descriptors;
    Samples threads;
    Samples files;

    void add(const Taken &taken) {
        megabytes.push_back(taken.megabytes);
        descriptors.push_back(taken.descriptors);
        threads.push_back(taken.threads);
        files.push_back(taken.files);
    }
    /// What is always taken, which a leak raises. The max says how much output once waited for the main
    /// thread.
    double memory() const { return quantile(megabytes, 0.1); }
};

double most(const Samples &samples) {
    return quantile(samples, 1);
}

/// The last fifth may exceed the first by `bound`.
void reportGrowth(const char *what, const char *unit, double first, double last, double bound) {
    report({std::string("soak: ") + what + " in the last fifth against the first",
            unit,
            {last},
            "at first",
            {first},
            Judged::Difference,
            Goal::AtMost,
            bound});
}

}  // namespace

void soak(const Options &options) {
    Scene scene("moods 1", "moods 2");
    scene.open();
    forgetMaxResident();
    // What the first minute takes is for good: the logs fill, and so do the fonts' and the display's caches.
    runFor(std::min<std::chrono::milliseconds>(60s, options.length / 10));
    const auto begin = std::chrono::steady_clock::now();
    const auto end = begin + options.length;
    Fifth first;
    Fifth last;
    double worst = 0;
    int restarts = 0;
    for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        // The window comes and goes as well, and so does the engine.
        scene.window->setVisible(round % 4 != 3);
        if (round % 12 == 6) {
            scene.vars().reloadEngine();
            runUntil([&] { return scene.vars()._isLumRunning.get(); }, "the restarted engine");
            ++restarts;
        }
        Taken taken;
        {
            StallProbe probe;
            runFor(5s);
            worst = std::max(worst, quantile(probe.take(), 1));
            taken = takenNow();
        }
        const auto now = std::chrono::steady_clock::now();
        if (now < begin + options.length / 5)
            first.add(taken);
        if (now > end - options.length / 5)
            last.add(taken);
        if (round % 12 == 0)
            std::fprintf(stderr,
                         "%5d s: %.1f MB, %.0f descriptors, %.0f threads, %.0f files, worst stall %.1f ms\n",
                         round * 5, taken.megabytes, taken.descriptors, taken.threads, taken.files, worst);
    }
    if (!scene.isRunning())
        giveUp("A child has ended on the way.");
    report({"soak: max resident memory",
            "MB",
            {maxResidentMegabytes()},
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            2 * 1000 * 65536 / 1e6 + 80});
    reportGrowth("memory", "MB", first.memory(), last.memory(), 8);  // what such weather differs by
    reportGrowth("descriptors", "", most(first.descriptors), most(last.descriptors), 0);
    reportGrowth("threads", "", most(first.threads), most(last.threads), 0);
    reportGrowth("files in home and TMPDIR", "", most(first.files), most(last.files), 0);
    report({"soak: main thread's worst stall", "ms", {worst}, "", {}, Judged::Ours, Goal::AtMost, 33});
    char figures[400];
    std::snprintf(
        figures, sizeof figures,
        "%.0f minutes of floods and silence with %d engine restarts: %.1f MB resident at most; from "
        "the first fifth to the last %.1f to %.1f MB (10th percentile), %.0f to %.0f descriptors, %.0f to "
        "%.0f threads, "
        "%.0f to %.0f files; worst stall %.1f ms.",
        std::chrono::duration<double>(options.length).count() / 60, restarts, maxResidentMegabytes(),
        first.memory(), last.memory(), most(first.descriptors), most(last.descriptors), most(first.threads),
        most(last.threads), most(first.files), most(last.files), worst);
    note(figures);
}

}  // namespace ferrolt::bench

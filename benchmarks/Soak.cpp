// Whether hours of bad weather leave anything behind: memory and descriptors have to stay where they are.

#include "LauncherFigures.h"
#include "ProcessFacts.h"
#include "Scene.h"

#include <algorithm>
#include <cstdio>

#include <unistd.h>

namespace ferrolt::bench {

using namespace std::chrono_literals;

void soak(const Options &options) {
    Scene scene("moods 1", "moods 2");
    scene.open();
    forgetMaxResident();
    // What the first minute takes is for good: the logs fill, and so do the fonts' and the display's caches.
    runFor(std::min<std::chrono::milliseconds>(60s, options.length / 10));
    const int descriptorsBefore = openDescriptors();
    const auto begin = std::chrono::steady_clock::now();
    const auto end = begin + options.length;
    double firstMegabytes = 0;  // the most in the first fifth
    double lastMegabytes = 0;   // and in the last
    int mostDescriptors = 0;
    double worst = 0;
    for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        // The window comes and goes as well.
        scene.window->setVisible(round % 4 != 3);
        StallProbe probe;
        runFor(5s);
        worst = std::max(worst, quantile(probe.take(), 1));
        const double megabytes = residentMegabytes(getpid());
        const auto now = std::chrono::steady_clock::now();
        if (now < begin + options.length / 5)
            firstMegabytes = std::max(firstMegabytes, megabytes);
        if (now > end - options.length / 5)
            lastMegabytes = std::max(lastMegabytes, megabytes);
        mostDescriptors = std::max(mostDescriptors, openDescriptors());
        if (round % 6 == 0)
            std::fprintf(stderr, "%4d s: %.1f MB, %d descriptors, worst stall %.1f ms\n", round * 5,
                         megabytes, openDescriptors(), worst);
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
    report({"soak: memory in the last fifth against the first",
            "MB",
            {lastMegabytes},
            "at first",
            {firstMegabytes},
            Judged::Difference,
            Goal::AtMost,
            8});  // what peaks of such weather differ by
    report({"soak: descriptors more than at first",
            "",
            {double(mostDescriptors - descriptorsBefore)},
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            0});
    report({"soak: main thread's worst stall", "ms", {worst}, "", {}, Judged::Ours, Goal::AtMost, 33});
}

}  // namespace ferrolt::bench

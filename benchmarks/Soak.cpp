// Whether hours of bad weather leave anything behind: memory and descriptors have to stay where they are.

#include "LauncherFigures.h"
#include "ProcessFacts.h"
#include "Scene.h"

#include <cstdio>

#include <unistd.h>

namespace ferrolt::bench {

using namespace std::chrono_literals;

void soak(const Options &options) {
    Scene scene("moods 1", "moods 2");
    scene.open();
    runFor(20s);
    const int descriptorsBefore = openDescriptors();
    const double firstMegabytes = residentMegabytes(getpid());
    const auto end = std::chrono::steady_clock::now() + options.length;
    double mostMegabytes = 0;
    int mostDescriptors = 0;
    double worst = 0;
    for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        // The window comes and goes as well.
        scene.window->setVisible(round % 4 != 3);
        StallProbe probe;
        runFor(5s);
        worst = std::max(worst, quantile(probe.take(), 1));
        mostMegabytes = std::max(mostMegabytes, residentMegabytes(getpid()));
        mostDescriptors = std::max(mostDescriptors, openDescriptors());
        if (round % 6 == 0)
            std::fprintf(stderr, "%4d s: %.1f MB, %d descriptors, worst stall %.1f ms\n", round * 5,
                         residentMegabytes(getpid()), openDescriptors(), worst);
    }
    if (!scene.isRunning())
        note("A child has ended on the way.");
    report({"soak: most resident memory",
            "MB",
            {mostMegabytes},
            "at first",
            {firstMegabytes},
            Judged::Ours,
            Goal::AtMost,
            2 * 1000 * 65536 / 1e6 + 80});
    report({"soak: descriptors more than at first",
            "",
            {double(mostDescriptors - descriptorsBefore)},
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            0});
    report({"soak: main thread's worst stall", "ms", {worst}, "", {}});
}

}  // namespace ferrolt::bench

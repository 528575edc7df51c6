// How long launching a child keeps the main thread while the launcher holds half a gigabyte.

#include "LauncherFigures.h"
#include "Peers.h"
#include "Process.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include <sys/wait.h>

namespace ferrolt::bench {

namespace {

constexpr std::size_t held = 500'000'000;

double launchOnce() {
    Process process;
    process.setExecutable(FERROLT_PRACTICE_CHILD);
    process.setArguments({"exit", "0"});
    const double took = seconds([&] {
        if (process.launch())
            std::exit(2);
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

}  // namespace

void launchWithManyPages(const Options &options) {
    const auto pages = std::make_unique<char[]>(held);
    std::memset(pages.get(), 1, held);
    Samples ours;
    Samples spawned;
    for (int run = 0; run < options.runs; ++run) {
        Samples launches;
        Samples spawns;
        for (int i = 0; i < 50; ++i) {
            launches.push_back(launchOnce());
            spawns.push_back(spawnOnce());
        }
        // Whether the caller is woken at once or after its child's time slice is up to the machine's other
        // work and not to the call: what the quicker ones take is what the call takes.
        ours.push_back(quantile(launches, 0.1));
        spawned.push_back(quantile(spawns, 0.1));
    }
    report({"launching a child with 500 MB resident", "ms", ours, "posix_spawn", spawned, Judged::Ratio,
            Goal::AtMost, 2});
}

}  // namespace ferrolt::bench

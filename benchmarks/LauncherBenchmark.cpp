// LauncherBenchmark FIGURE [--quick] [--runs N] [--seconds N]: measures the launcher's own classes in their
// window, with real children, each figure beside its peer. One figure to a process, so that none inherits
// another's memory.

#include "LauncherFigures.h"
#include "Measuring.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

using namespace ferrolt::bench;

namespace {

const std::map<std::string, void (*)(const Options &)> figures{
    {"throughput", throughputOfOneChild},
    {"both", throughputOfBothChildren},
    {"chatter", chattyChild},
    {"stall", stallInTheFlood},
    {"text", otherText},
    {"launch", launchWithManyPages},
    {"view", fullView},
    {"input", inputInTheFlood},
    {"latency", latencyOfAChunk},
    {"writes", writesOfAChild},
    {"growth", growth},
    {"program", startAndIdle},
    {"quit", quitInTheFlood},
    {"soak", soak},
};

int usage() {
    std::fprintf(stderr, "usage: LauncherBenchmark FIGURE [--quick] [--runs N] [--seconds N]\nfigures:");
    for (const auto &[name, measure] : figures)
        std::fprintf(stderr, " %s", name.c_str());
    std::fprintf(stderr, "\n");
    return 2;
}

}  // namespace

int main(int argc, char **argv) {
    std::signal(SIGPIPE, SIG_IGN);
    const auto figure = figures.find(argc > 1 ? argv[1] : "");
    if (figure == figures.end())
        return usage();
    Options options;
    for (int i = 2; i < argc; ++i) {
        if (std::strcmp(argv[i], "--quick") == 0)
            options = {.runs = 1, .length = std::chrono::milliseconds(1500), .quick = true};
        else if (std::strcmp(argv[i], "--runs") == 0 && i + 1 < argc)
            options.runs = std::max(std::atoi(argv[++i]), 1);
        else if (std::strcmp(argv[i], "--seconds") == 0 && i + 1 < argc)
            options.length = std::chrono::seconds(std::max(std::atoi(argv[++i]), 1));
        else
            return usage();
    }
    TimedApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    figure->second(options);
    return 0;
}

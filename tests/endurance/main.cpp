// kills --count N --seed S [--first K] [--workers W]: kills the launcher N times with kill -9, at random
// moments of the seven phases in turn, each worker in a system of its own, and checks what is left. Kill
// number K of a seed is the same kill in every run. Ends with status 0 only if all held; with 200 where no
// such system can be made.

#include "KillTrial.h"
#include "PrivateSystem.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <new>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

constexpr int noSystem = 200;

struct Options {
    long count = 500;
    long seed = 1;
    long first = 0;
    long workers = 2;
};

/// What one kill came to, as a worker tells it through the pipe.
struct Result {
    int phase = 0;
    int failed = 0;
    int inTheMiddle = 0;   ///< left something half done
    double goneAfter = 0;  ///< in milliseconds
};

/// Takes the next number that no worker has taken yet, until there is none.
void killInTurn(const Options &options, std::atomic<long> &next, int results) {
    KillWorld world;
    KillTrial::measure(world);
    for (long number = next++; number < options.first + options.count; number = next++) {
        const auto phase = static_cast<KillTrial::Phase>(number % KillTrial::phases);
        std::seed_seq mixed{options.seed, number};
        std::array<std::uint32_t, 2> words{};
        mixed.generate(words.begin(), words.end());
        Result result{static_cast<int>(phase)};
        try {
            KillTrial trial(world, phase, std::uint64_t{words[0]} << 32 | words[1]);
            trial.run();
            result.inTheMiddle = trial.wasInTheMiddle() ? 1 : 0;
            result.goneAfter = trial.childrenGoneAfter().count();
        } catch (const std::exception &failure) {
            result.failed = 1;
            std::printf(
                "FAILED, kill %ld (%s): %s\n  again with: tools/kills --seed %ld --first %ld --count 1\n",
                number, KillTrial::nameOf(phase).c_str(), failure.what(), options.seed, number);
            std::fflush(stdout);
        }
        if (write(results, &result, sizeof result) != sizeof result)
            return;
    }
}

/// Never returns.
[[noreturn]] void work(const Options &options, std::atomic<long> &next, int results, int argc, char **argv) {
    std::exit(PrivateSystem::run(KillWorld::prompt(), [&](const std::string &trouble) {
        if (!trouble.empty()) {
            std::printf("No system of its own can be made here: %s\n", trouble.c_str());
            return noSystem;
        }
        QCoreApplication application(argc, argv);
        try {
            killInTurn(options, next, results);
            return 0;
        } catch (const std::exception &failure) {
            std::printf("FAILED before the first kill: %s\n", failure.what());
            return 1;
        }
    }));
}

struct Tally {
    int kills = 0;
    int failed = 0;
    int inTheMiddle = 0;
    double slowest = 0;
};

}  // namespace

int main(int argc, char **argv) {
    Options options;
    const std::map<std::string, long *> names{{"--count", &options.count},
                                              {"--seed", &options.seed},
                                              {"--first", &options.first},
                                              {"--workers", &options.workers}};
    for (int i = 1; i < argc; i += 2) {
        const auto name = names.find(argv[i]);
        char *end = nullptr;
        if (name == names.end() || i + 1 == argc ||
            (*name->second = std::strtol(argv[i + 1], &end, 10), *end != '\0' || *name->second < 0)) {
            std::fprintf(stderr, "usage: kills [--count N] [--seed S] [--first K] [--workers W]\n");
            return 2;
        }
    }
    options.workers = std::max(1L, std::min(options.workers, options.count));
    const auto begin = std::chrono::steady_clock::now();
    std::printf("Seed %ld.\n", options.seed);
    std::fflush(stdout);

    std::array<int, 2> results{};
    if (pipe2(results.data(), O_CLOEXEC) != 0)
        return 1;
    void *const shared =
        mmap(nullptr, sizeof(std::atomic<long>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        return 1;
    auto *const next = new (shared) std::atomic<long>(options.first);
    std::vector<pid_t> workers;
    for (long worker = 0; worker < options.workers; ++worker) {
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            close(results[0]);
            work(options, *next, results[1], argc, argv);
        }
        workers.push_back(child);
    }
    close(results[1]);

    std::array<Tally, KillTrial::phases> tallies{};
    Tally all;
    for (Result result; read(results[0], &result, sizeof result) == sizeof result;) {
        for (Tally *tally : {&tallies.at(static_cast<std::size_t>(result.phase)), &all}) {
            ++tally->kills;
            tally->failed += result.failed;
            tally->inTheMiddle += result.inTheMiddle;
            tally->slowest = std::max(tally->slowest, result.goneAfter);
        }
        if (all.kills % 25 == 0)
            std::fprintf(stderr, "%d of %ld, %d failed\n", all.kills, options.count, all.failed);
    }
    int status = 0;
    for (const pid_t worker : workers) {
        int ended = 0;
        waitpid(worker, &ended, 0);
        status = std::max(status, WIFEXITED(ended) ? WEXITSTATUS(ended) : 1);
    }
    if (status == noSystem)
        return noSystem;

    std::printf("\nphase      kills  failed  in the middle  slowest end of the children\n");
    std::string phases;
    for (int phase = 0; phase < KillTrial::phases; ++phase) {
        const Tally &tally = tallies.at(static_cast<std::size_t>(phase));
        const std::string name = KillTrial::nameOf(static_cast<KillTrial::Phase>(phase));
        std::printf("%-9s  %5d  %6d  %13d  %.0f ms\n", name.c_str(), tally.kills, tally.failed,
                    tally.inTheMiddle, tally.slowest);
        phases += (phase == 0 ? "" : ", ") + name + ' ' + std::to_string(tally.kills);
    }
    const std::chrono::duration<double, std::ratio<60>> minutes = std::chrono::steady_clock::now() - begin;
    std::printf(
        "\n%d of %ld kills (%s; seed %ld), %d failed, %d left something half done; the children were gone "
        "after %.0f ms at most; %.1f "
        "minutes.\n",
        all.kills, options.count, phases.c_str(), options.seed, all.failed, all.inTheMiddle, all.slowest,
        minutes.count());
    return status != 0 || all.failed > 0 || all.kills != options.count ? 1 : 0;
}

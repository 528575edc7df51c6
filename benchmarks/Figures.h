#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace ferrolt::bench {

using Samples = std::vector<double>;

double median(Samples samples);
/// The sample that `share` (0 to 1) of all samples do not exceed. NaN without samples, and when one of them
/// is not finite.
double quantile(Samples samples, double share);

/// One sample of each for a run.
struct Tail {
    Samples p99;
    Samples worst;

    void add(const Samples &ofOneRun) {
        p99.push_back(quantile(ofOneRun, 0.99));
        worst.push_back(quantile(ofOneRun, 1));
    }
};

/// How long and how often a figure is measured.
struct Options {
    int runs = 5;
    std::chrono::milliseconds length{3000};  ///< of one run
    bool quick = false;
};

enum class Judged { Ours, Ratio, Difference };
enum class Goal { AtMost, AtLeast, None };
/// How the runs of a figure are summed up. The worst is the max, or the min where the goal is a lower bound.
enum class Summary { Median, Worst };
enum class Verdict { NotJudged, Met, Missed };

/// One line of the table.
struct Figure {
    std::string what;
    std::string unit;
    Samples ours;
    std::string peerName = {};
    Samples peer = {};  ///< as many as `ours`, measured in turn with them, or none
    Judged judged = Judged::Ours;
    Goal goal = Goal::None;
    double bound = 0;
    Summary summary = Summary::Median;
};

/// Also Missed when there are no samples, and when the peer's figure is 0 so that there is no ratio.
Verdict verdictOf(const Figure &figure);

/// The figure as the table's row: the words of the columns, parted by tabs, "FIGURE" first.
std::string row(const Figure &figure);

/// Prints the row.
void report(const Figure &figure);

/// A line that stands below the table.
void note(const std::string &text);

/// Seconds that `work` takes.
template <class Work>
double seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace ferrolt::bench

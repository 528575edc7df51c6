// How cost grows with the number and with the size of what arrives.

#include "LauncherFigures.h"
#include "Scene.h"

#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace ferrolt::bench {

namespace {

using namespace std::chrono_literals;

const std::vector<int> counts{1, 10, 100, 1000};
const std::vector<qsizetype> sizes{1, 100, 4096, 65536};

std::string cell(const char *format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

/// The main thread's processor time, in milliseconds, from the arrival of so many elements at once until all
/// of it is shown and counted.
double costToShow(Scene &scene, int count, qsizetype bytes, const Options &options) {
    Samples costs;
    for (int run = 0; run < options.runs; ++run) {
        std::vector<LogElement> elements;
        elements.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            elements.push_back(Scene::element(bytes, i));
        runFor(options.quick ? 50ms : 200ms);  // what came before is at rest
        const double before = threadSeconds();
        QTimer::singleShot(0, [&] { scene.vars().appendLog(std::move(elements), LogTarget::Lumora); });
        runFor(options.quick ? 400ms : 600ms);
        costs.push_back((threadSeconds() - before) * 1000);
    }
    return median(costs);
}

/// How much faster the cost has grown than what arrived, from one cell of the table to the next one.
double step(double from, double to, double leastCost, double factor) {
    // What is shown of a single byte moves into view and is drawn, as is all else; what comes on top grows.
    constexpr double unnoticed = 1;
    return std::max(to - leastCost, 0.0) / std::max(from - leastCost, unnoticed) / factor;
}

void reportGrowth(const std::vector<std::vector<double>> &costs) {
    const double least = costs[0][0];
    double worst = 0;
    for (std::size_t size = 0; size < sizes.size(); ++size) {
        for (std::size_t i = 1; i < counts.size(); ++i)
            worst = std::max(worst, step(costs[size][i - 1], costs[size][i], least, 10));
    }
    for (std::size_t count = 0; count < counts.size(); ++count) {
        for (std::size_t i = 1; i < sizes.size(); ++i) {
            const double factor = static_cast<double>(sizes[i]) / static_cast<double>(sizes[i - 1]);
            worst = std::max(worst, step(costs[i - 1][count], costs[i][count], least, factor));
        }
    }
    report({"growth of the cost against that of the bytes, worst step",
            "",
            {worst},
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            1});
}

void throughputBySize(const Options &options) {
    note(
        "A flood of writes of one size, window open: MB/s, writes a second, main thread's stall (99 of 100, "
        "worst) in ms");
    double p99 = 0;
    double worst = 0;
    for (const qsizetype bytes : sizes) {
        Scene scene("flood -1 " + std::to_string(bytes));
        scene.open();
        StallProbe probe;
        const double before = bytesWrittenBy(scene.engine());
        const double took = seconds([&] { runFor(options.length); });
        const double rate = (bytesWrittenBy(scene.engine()) - before) / took;
        const Samples waits = probe.take();
        note(cell("%8.0f bytes:", static_cast<double>(bytes)) + cell(" %9.2f MB/s", rate / 1e6) +
             cell(" %9.0f writes/s", rate / static_cast<double>(bytes)) +
             cell("   stall %6.2f", quantile(waits, 0.99)) + cell(" %6.2f", quantile(waits, 1)));
        p99 = std::max(p99, quantile(waits, 0.99));
        worst = std::max(worst, quantile(waits, 1));
    }
    report({"stall, a flood of writes of any size: 99 of 100",
            "ms",
            {p99},
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            8});
    report({"stall, a flood of writes of any size: worst",
            "ms",
            {worst},
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            33});
}

}  // namespace

void growth(const Options &options) {
    std::vector<std::vector<double>> costs;
    {
        Scene scene;
        scene.open();
        costToShow(scene, 1, 1, options);  // the first one finds nothing in the caches
        for (const qsizetype bytes : sizes) {
            costs.emplace_back();
            for (const int count : counts)
                costs.back().push_back(costToShow(scene, count, bytes, options));
        }
    }
    note(
        "Elements that arrive at once, by their size: main thread's processor time until all is shown and "
        "counted, in ms");
    std::string heading = "                ";
    for (const int count : counts)
        heading += cell("%9.0f", count);
    note(heading + " elements");
    for (std::size_t size = 0; size < sizes.size(); ++size) {
        std::string line = cell("%8.0f bytes:  ", static_cast<double>(sizes[size]));
        for (const double cost : costs[size])
            line += cell("%9.2f", cost);
        note(line);
    }
    throughputBySize(options);
    reportGrowth(costs);
}

}  // namespace ferrolt::bench

// How cost grows with the number and with the size of what arrives.

#include "LauncherFigures.h"
#include "Scene.h"

#include <QEventLoop>
#include <QTimer>

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

/// Main thread's milliseconds from the arrival of so many elements at once until they are on screen.
double timeToShow(Scene &scene, int count, qsizetype bytes, int runs) {
    Samples times;
    for (int run = 0; run < runs; ++run) {
        std::vector<LogElement> elements;
        for (int i = 0; i < count; ++i)
            elements.push_back(Scene::element(bytes, i));
        runFor(150ms);  // what came before is shown and counted
        FrameProbe probe;
        double appended = 0;
        QTimer::singleShot(0, [&] {
            appended =
                seconds([&] { scene.vars().appendLog(std::move(elements), LogTarget::Lumora); }) * 1000;
        });
        runFor(60ms);
        times.push_back(std::max(probe.takeWorst(), appended));
    }
    return median(times);
}

void reportGrowth(const std::vector<std::vector<double>> &times) {
    // Below this, what is measured is the frame and not what it shows.
    constexpr double frame = 4;
    double worst = 0;
    for (std::size_t size = 0; size < sizes.size(); ++size) {
        for (std::size_t i = 1; i < counts.size(); ++i)
            worst = std::max(worst, times[size][i] / std::max(times[size][i - 1], frame) / 10);
    }
    for (std::size_t count = 0; count < counts.size(); ++count) {
        for (std::size_t i = 1; i < sizes.size(); ++i) {
            const double factor = static_cast<double>(sizes[i]) / static_cast<double>(sizes[i - 1]);
            worst = std::max(worst, times[i][count] / std::max(times[i - 1][count], frame) / factor);
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
    }
}

}  // namespace

void growth(const Options &options) {
    std::vector<std::vector<double>> times;
    {
        Scene scene;
        scene.open();
        for (const qsizetype bytes : sizes) {
            times.emplace_back();
            for (const int count : counts)
                times.back().push_back(timeToShow(scene, count, bytes, options.quick ? 1 : options.runs));
        }
    }
    note(
        "Elements that arrive at once, by their size: main thread's longest frame until they are shown, in "
        "ms");
    std::string heading = "                ";
    for (const int count : counts)
        heading += cell("%9.0f", count);
    note(heading + " elements");
    for (std::size_t size = 0; size < sizes.size(); ++size) {
        std::string line = cell("%8.0f bytes:  ", static_cast<double>(sizes[size]));
        for (const double time : times[size])
            line += cell("%9.2f", time);
        note(line);
    }
    throughputBySize(options);
    reportGrowth(times);
}

}  // namespace ferrolt::bench

// How long a child that writes is held up by whoever reads it.

#include "LauncherFigures.h"
#include "Peers.h"
#include "Scene.h"

#include <QFile>
#include <QTemporaryDir>

#include <fstream>

namespace ferrolt::bench {

namespace {

/// Milliseconds that the child's writes took, once it has made them all.
Samples durationsIn(const std::string &file) {
    runUntil([&] { return QFile::exists(QString::fromStdString(file)); }, "the times of a child's writes");
    Samples durations;
    std::ifstream lines(file);
    for (double nanoseconds = 0; lines >> nanoseconds;)
        durations.push_back(nanoseconds * 1e-6);
    return durations;
}

}  // namespace

void writesOfAChild(const Options &options) {
    const Words flood{"timed", options.quick ? "10000" : "40000", "65536"};
    Tail ours;
    Tail cat;
    for (int run = 0; run < options.runs; ++run) {
        const QTemporaryDir folder;
        const std::string file = folder.filePath(QStringLiteral("ours")).toStdString();
        {
            Scene scene(flood[0] + ' ' + flood[1] + ' ' + flood[2] + ' ' + file);
            scene.window->show();
            ours.add(durationsIn(file));
        }
        const std::string peerFile = folder.filePath(QStringLiteral("cat")).toStdString();
        const CatReading reading({flood[0], flood[1], flood[2], peerFile});
        cat.add(durationsIn(peerFile));
    }
    report({"a flooding child's writes of 64 KiB: 99 of 100", "ms", ours.p99, "cat", cat.p99, Judged::Ratio,
            Goal::AtMost, 1.5});
    report({.what = "the same, worst",
            .unit = "ms",
            .ours = ours.worst,
            .peerName = "cat",
            .peer = cat.worst,
            .summary = Summary::Worst});
}

}  // namespace ferrolt::bench

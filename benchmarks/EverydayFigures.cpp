// What a child costs that writes at an everyday pace, and how soon its words arrive.

#include "LauncherFigures.h"
#include "Peers.h"
#include "Scene.h"

#include <QScreen>

#include <cstdlib>

namespace ferrolt::bench {

namespace {

using namespace std::chrono_literals;

/// In percent of a core.
double processorShare(std::chrono::milliseconds length) {
    const double before = processorSeconds();
    const double took = seconds([&] { runFor(length); });
    return (processorSeconds() - before) / took * 100;
}

/// Notes when elements come into the engine's log, and reads from their text when they were written.
class ArrivalWatch : public QObject {
  public:
    explicit ArrivalWatch(AppVars &vars) : vars(vars), known(vars.lumoraLog().endSequence()) {
        connect(&vars, &AppVars::objectWillChange, this, [this] { changeAnnounced(); });
    }
    Samples delays;  ///< milliseconds

  private:
    /// What has come since the last announcement came right after that one.
    void changeAnnounced() {
        const LogBuffer &log = vars.lumoraLog();
        for (; known < log.endSequence(); ++known) {
            const std::string text = log.holds(known) ? log.bySequence(known).toStdString() : "";
            const long long written = std::atoll(text.c_str());
            if (written > 0)
                delays.push_back(static_cast<double>(announcedAt - written) * 1e-6);
        }
        announcedAt = std::chrono::steady_clock::now().time_since_epoch().count();
    }

    AppVars &vars;
    std::uint64_t known;
    std::int64_t announcedAt = 0;
};

}  // namespace

void chattyChild(const Options &options) {
    const std::chrono::milliseconds length = options.quick ? 2s : 5s;
    Samples open;
    Samples closed;
    Samples paints;
    Samples refreshes;
    Samples editOpen;
    Samples editPaints;
    for (int run = 0; run < options.runs; ++run) {
        Scene scene("chatter 1000000 100 1000");
        scene.open();
        PaintCounter painted(scene.home().lumoraConsole()->textArea().viewport());
        open.push_back(processorShare(length));
        paints.push_back(painted.take() / std::chrono::duration<double>(length).count());
        refreshes.push_back(scene.window->screen()->refreshRate());
        scene.window->close();
        runFor(300ms);
        closed.push_back(processorShare(length));
        const QueuedTextEdit edit = queuedTextEdit({"chatter", "1000000", "100", "1000"}, 2s);
        editOpen.push_back(edit.processorShare * 100);
        editPaints.push_back(edit.paintsPerSecond);
    }
    report({"chatty child, window open", "% of a core", open, "QPlainTextEdit", editOpen, Judged::Ours,
            Goal::AtMost, 6});
    report({"chatty child, window closed", "% of a core", closed, "", {}, Judged::Ours, Goal::AtMost, 3});
    report({"chatty child, paints against screen refreshes", "a second", paints, "refreshes", refreshes,
            Judged::Ratio, Goal::AtMost, 1});
    report({.what = "chatty child, paints of a QPlainTextEdit",
            .unit = "a second",
            .ours = paints,
            .peerName = "QPlainTextEdit",
            .peer = editPaints});
}

void latencyOfAChunk(const Options &options) {
    // At 20 writes a second each one follows a quiet moment and is handed over at once. At higher rates what
    // waits is handed over with the next screen refresh.
    for (const int perSecond : {20, 200, 1000}) {
        const bool isQuiet = perSecond == 20;
        double refreshRate = 0;
        Samples medians;
        Samples late;
        for (int run = 0; run < options.runs; ++run) {
            Scene scene("clock 1000000 " + std::to_string(perSecond));
            scene.open();
            refreshRate = scene.window->screen()->refreshRate();
            ArrivalWatch watch(scene.vars());
            runFor(options.length);
            medians.push_back(median(watch.delays));
            late.push_back(quantile(watch.delays, 0.99));
        }
        const std::string what =
            "from the child's write into the log, " + std::to_string(perSecond) + " writes a second";
        report({what, "ms", medians, "", {}, Judged::Ours, Goal::AtMost, isQuiet ? 1 : 1000 / refreshRate});
        report({.what = "the same, 99 of 100", .unit = "ms", .ours = late});
    }
}

}  // namespace ferrolt::bench

// What it costs to show, to resize and to copy logs of 64 MB each.

#include "LauncherFigures.h"
#include "Peers.h"
#include "Scene.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QTimer>

#include <unistd.h>

namespace ferrolt::bench {

namespace {

using namespace std::chrono_literals;

/// Runs the work as the event loop would and returns the worst frame, in milliseconds, until all is at rest.
template <class Work>
double worstFrame(FrameProbe &probe, std::chrono::milliseconds rest, Work work) {
    runFor(50ms);
    probe.takeWorst();
    QTimer::singleShot(0, work);
    runFor(rest);
    return probe.takeWorst();
}

/// The worst frame of a window that is drawn larger and smaller.
double worstResize(FrameProbe &probe, QWidget &window) {
    double worst = 0;
    for (int step = 0; step < 40; ++step) {
        const int wider = (step < 20 ? step : 40 - step) * 13;
        worst =
            std::max(worst, worstFrame(probe, 25ms, [&] { window.resize(900 + wider, 600 + wider / 3); }));
    }
    return worst;
}

void plainTextEdit(FrameProbe &probe, double &fill, double &resize, double &megabytes) {
    const double before = residentMegabytes(getpid());
    QPlainTextEdit edit;
    edit.resize(900, 600);
    edit.show();
    runFor(300ms);
    fill = worstFrame(probe, 300ms, [&] {
        for (int i = 0; i < 1000; ++i)
            edit.appendPlainText(QString::fromUtf8(Scene::element(65536, i)));
    });
    resize = worstResize(probe, edit);
    megabytes = residentMegabytes(getpid()) - before;
}

}  // namespace

void fullView(const Options &options) {
    Samples show;
    Samples resize;
    Samples memory;
    Samples copy;
    Samples paste;
    for (int run = 0; run < options.runs; ++run) {
        Scene scene;
        scene.awaitChildren();
        FrameProbe probe;
        show.push_back(worstFrame(probe, 1s, [&] { scene.window->show(); }));
        resize.push_back(worstResize(probe, *scene.window));
        memory.push_back(residentMegabytes(getpid()));
        auto *const button = scene.home().lumoraConsole()->findChild<QPushButton *>();
        copy.push_back(worstFrame(probe, 200ms, [&] { button->click(); }));

        // Another program asks for what was copied.
        QProcess other;
        other.start(QStringLiteral(FERROLT_PASTE), {});
        StallProbe stall;
        runUntil([&] { return other.state() == QProcess::NotRunning; }, "the copied text in another program");
        paste.push_back(quantile(stall.take(), 1));
        const double arrived = other.readAllStandardOutput().trimmed().toDouble();
        if (arrived != static_cast<double>(scene.vars().lumoraLog().byteCount()))
            giveUp("The copied text did not arrive whole: " + std::to_string(arrived) + " bytes.");
        QGuiApplication::clipboard()->clear();  // or the next run would be reckoned with this one's text
    }
    double editFill = 0;
    double editResize = 0;
    double editMegabytes = 0;
    FrameProbe probe;
    plainTextEdit(probe, editFill, editResize, editMegabytes);
    const auto peer = [&](double value) { return Samples(show.size(), value); };
    report({"showing two logs of 64 MB: worst frame", "ms", show, "QPlainTextEdit, one", peer(editFill),
            Judged::Ours, Goal::AtMost, 33, Summary::Worst});
    report({"resizing two logs of 64 MB: worst frame", "ms", resize, "QPlainTextEdit, one", peer(editResize),
            Judged::Ours, Goal::AtMost, 33, Summary::Worst});
    report({"resident memory with both shown", "MB", memory, "QPlainTextEdit, one", peer(editMegabytes),
            Judged::Ours, Goal::AtMost, 2 * 1000 * 65536 / 1e6 + 80});
    report({"copying a log of 64 MB: freeze", "ms", copy, "", {}, Judged::Ours, Goal::AtMost, 100});
    report({"another program pastes it: freeze", "ms", paste, "", {}, Judged::Ours, Goal::AtMost, 100});
}

}  // namespace ferrolt::bench

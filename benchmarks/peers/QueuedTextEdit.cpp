// QueuedTextEdit MILLISECONDS PROGRAM [ARGUMENT...]: shows what the program writes in the way that comes to
// mind first: a thread reads the pipe and queues a call for each read, which appends the text to a
// QPlainTextEdit that keeps 1000 blocks. Prints what became of it: bytes shown a second, share of a core,
// paints a second, the main thread's worst stall in milliseconds, and resident megabytes.

#include "Measuring.h"
#include "Peers.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTimer>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

using namespace ferrolt;

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    const std::chrono::milliseconds length(std::atoi(argv[1]));
    QPlainTextEdit edit;
    edit.setReadOnly(true);
    edit.setMaximumBlockCount(1000);
    edit.resize(1000, 640);
    edit.show();
    bench::PaintCounter paints(edit.viewport());
    bench::StallProbe probe;

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return 2;
    const pid_t child = bench::spawn(bench::Words(argv + 2, argv + argc), -1, ends[1]);
    double shown = 0;
    // It would queue until it is killed for its memory; so much is enough to see that.
    std::atomic<double> queued = 0;
    constexpr double enough = 1e9;
    std::thread([&, from = ends[0]] {
        char bytes[65536];
        for (ssize_t count = 0; (count = read(from, bytes, sizeof bytes)) > 0;) {
            queued = queued + static_cast<double>(count);
            while (queued > enough)
                usleep(1000);
            QMetaObject::invokeMethod(
                &edit,
                [&, text = QString::fromUtf8(bytes, static_cast<qsizetype>(count))] {
                    edit.moveCursor(QTextCursor::End);
                    edit.insertPlainText(text);
                    edit.verticalScrollBar()->setValue(edit.verticalScrollBar()->maximum());
                    shown += static_cast<double>(text.size());
                },
                Qt::QueuedConnection);
        }
    }).detach();

    const double processorBefore = bench::processorSeconds();
    const auto start = std::chrono::steady_clock::now();
    const auto finish = [&](double worst) {
        const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::printf("%f %f %f %f %f\n", shown / took, (bench::processorSeconds() - processorBefore) / took,
                    paints.take() / took, worst < 0 ? took * 1000 : worst,
                    bench::residentMegabytes(getpid()));
        std::fflush(stdout);
        kill(child, SIGKILL);
        _exit(0);
    };
    // It may not come to its timers for as long as there is anything to show: another thread ends it then.
    std::thread([&] {
        std::this_thread::sleep_for(length);
        QMetaObject::invokeMethod(
            &edit, [&] { finish(bench::quantile(probe.take(), 1)); }, Qt::QueuedConnection);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        finish(-1);
    }).detach();
    return QApplication::exec();
}

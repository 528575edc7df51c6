#include "Process.h"
#include "ProcessFacts.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QScopeGuard>
#include <QTest>

#include <atomic>
#include <csignal>
#include <future>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

std::atomic<int> waits{0};

}  // namespace

/// A waitid() as on macOS: it also reports stopped children, although only ended ones are requested.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int waitid(idtype_t type, id_t id, siginfo_t *change, int options) {
    ++waits;
    if ((options & WEXITED) != 0)
        options |= WSTOPPED;
    return static_cast<int>(::syscall(SYS_waitid, type, id, change, options, nullptr));
}

class StoppedChildTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aStoppedChildStillRunsAndItsEndIsReportedWithItsOwnStatus() {
        Process process;
        process.setExecutable(FERROLT_PRACTICE_CHILD);
        process.setArguments({"silent"});
        std::atomic<int> status{-1};
        process.setTerminationHandler([&](Process::Status reported) { status = reported; });
        QVERIFY(!process.launch());
        const int child = process.processIdentifier();
        const auto end = qScopeGuard([&] { kill(child, SIGKILL); });
        QCOMPARE(kill(child, SIGSTOP), 0);
        QVERIFY(waitWithoutEvents([&] { return processState(child) == 'T'; }));
        QVERIFY(waitWithoutEvents(
            [&] { return waits >= 3; }));  // WEXITED reports the stop, WSTOPPED consumes it, WEXITED again

        auto isRunning = std::async(std::launch::async, [&] { return process.isRunning(); });
        const bool isAnswered = isRunning.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
        kill(child, SIGCONT);
        kill(child, SIGTERM);
        QVERIFY(isAnswered);
        QVERIFY(isRunning.get());
        QVERIFY(waitWithoutEvents([&] { return status != -1; }));
        QCOMPARE(status.load(), SIGTERM);
        QVERIFY2(waits < 20, qPrintable(QString::number(waits)));  // no busy loop
    }
};

TEST_CLASS(StoppedChildTest, QCoreApplication)
#include "StoppedChildTest.moc"

#include "Process.h"
#include "TestProgram.h"

#include <QTest>

#include <atomic>
#include <cerrno>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

std::atomic<int> readsToInterrupt = 0;
std::atomic<int> waitsToInterrupt = 0;
bool hasLauncherDied = false;

}  // namespace

// These replace the C library's functions in this program: vfork() by fork(), as some tools do, so that a
// child shares no memory; calls that a signal interrupts; and a launcher that died before its child looked.
extern "C" pid_t vfork() noexcept {
    return fork();
}
extern "C" ssize_t read(int descriptor, void *bytes, size_t size) {
    if (readsToInterrupt.load() > 0) {
        --readsToInterrupt;
        errno = EINTR;
        return -1;
    }
    return syscall(SYS_read, descriptor, bytes, size);
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" pid_t waitpid(pid_t child, int *status, int options) {
    if (waitsToInterrupt.load() > 0) {
        --waitsToInterrupt;
        errno = EINTR;
        return -1;
    }
    return static_cast<pid_t>(syscall(SYS_wait4, child, status, options, nullptr));
}
extern "C" pid_t getppid() noexcept {
    return hasLauncherDied ? 1 : static_cast<pid_t>(syscall(SYS_getppid));
}

class ForkedChildTest : public QObject {
    Q_OBJECT

    static void prepare(Process &process, const char *executable = "/bin/sh") {
        process.setExecutable(executable);
        process.setArguments({"-c", "exit 7"});
    }

  private Q_SLOTS:
    void cleanup() {
        QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1);  // not even a zombie
        QCOMPARE(errno, ECHILD);
    }

    void aChildThatSharesNoMemoryRunsAllTheSame() {
        Process process;
        prepare(process);
        QVERIFY(!process.launch());
        QCOMPARE(process.waitUntilExit(), 7);
    }

    void aFailureIsToldByAChildThatSharesNoMemory() {
        Process process;
        prepare(process, "/nowhere/program");
        const auto failure = process.launch();
        QVERIFY(failure);
        QCOMPARE(failure->code, ENOENT);
    }

    void anInterruptedLaunchIsWaitedFor() {
        readsToInterrupt = 3;
        waitsToInterrupt = 3;
        Process process;
        prepare(process, "/nowhere/program");
        const auto failure = process.launch();
        QVERIFY(failure);
        QCOMPARE(failure->code, ENOENT);
        QCOMPARE(readsToInterrupt.load(), 0);
        QCOMPARE(waitsToInterrupt.load(), 0);
    }

    void anInterruptedWaitLosesNoStatus() {
        waitsToInterrupt = 3;
        Process process;
        prepare(process);
        QVERIFY(!process.launch());
        QCOMPARE(process.waitUntilExit(), 7);
        QCOMPARE(waitsToInterrupt.load(), 0);
    }

    void anInterruptedWaitForAChildThatNobodyReadsLeavesNoZombie() {
        waitsToInterrupt = 3;
        Process process;
        prepare(process);
        process.setStartHook([] { return EAGAIN; });
        const auto failure = process.launch();
        QVERIFY(failure);
        QCOMPARE(failure->code, EAGAIN);
        QCOMPARE(waitsToInterrupt.load(), 0);
    }

    void aChildThatOutlivesItsLauncherBeforeItRunsDoesNotRun() {
        hasLauncherDied = true;
        Process process;
        prepare(process);
        const auto failure = process.launch();
        hasLauncherDied = false;
        QVERIFY(!failure);
        QCOMPARE(process.waitUntilExit(), 127);
    }
};

TEST_CLASS(ForkedChildTest, QCoreApplication)
#include "ForkedChildTest.moc"

#include "InChild.h"
#include "ProcessFacts.h"
#include "QuitSignals.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QTest>

#include <csignal>

#include <sys/resource.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

void setDisposition(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigaction(signal, &action, nullptr);
}

}  // namespace

class QuitSignalsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void eachOfThemIsAQuit_data() {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
    void eachOfThemIsAQuit() {
        QFETCH(int, signal);
        setDisposition(SIGHUP, SIG_DFL);  // the tests themselves may have been started by nohup
        int quits = 0;
        const QuitSignals signals([&] { ++quits; });
        QCOMPARE(raise(signal), 0);
        QCOMPARE(quits, 0);  // from the event loop
        QVERIFY(waitUntil([&] { return quits == 1; }));
    }

    void signalsThatComeTogetherAreOneQuit() {
        int quits = 0;
        const QuitSignals signals([&] { ++quits; });
        for (int i = 0; i < 100; ++i)
            raise(SIGTERM);
        QVERIFY(waitUntil([&] { return quits > 0; }));
        QCoreApplication::processEvents();
        QCOMPARE(quits, 1);
    }

    void aHangUpThatNohupIgnoredStaysIgnoredAndNoOther() {
        setDisposition(SIGHUP, SIG_IGN);
        setDisposition(SIGINT, SIG_IGN);
        {
            const QuitSignals signals([] {});
            QCOMPARE(ignoredSignals(getpid()) & 3ULL, 1ULL);  // SIGHUP is 1, SIGINT is 2
        }
        QCOMPARE(ignoredSignals(getpid()) & 3ULL, 1ULL);
        setDisposition(SIGHUP, SIG_DFL);
    }

    void aSignalThatTheStarterBlockedArrives() {
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
        int quits = 0;
        const QuitSignals signals([&] { ++quits; });
        raise(SIGTERM);
        QVERIFY(waitUntil([&] { return quits == 1; }));
    }

    void afterwardsASignalEndsTheProcess() {
        const int code = inChild([] {
            {
                const QuitSignals signals([] {});
            }
            raise(SIGTERM);
            return 1;
        });
        QCOMPARE(code, -SIGTERM);
    }

    void withoutDescriptorsASignalStillEndsTheProcess() {
        const int code = inChild([] {
            const rlimit none{3, 3};
            if (setrlimit(RLIMIT_NOFILE, &none) != 0)
                return 1;
            const QuitSignals signals([] {});
            raise(SIGTERM);
            return 2;
        });
        QCOMPARE(code, -SIGTERM);
    }
};

TEST_CLASS(QuitSignalsTest, QCoreApplication)
#include "QuitSignalsTest.moc"

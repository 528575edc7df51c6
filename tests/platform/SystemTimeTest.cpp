#include "MainQueue.h"
#include "SystemTime.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QTest>

#include <chrono>
#include <memory>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The timer of the real clock. All other tests replace it.
class SystemTimeTest : public QObject {
    Q_OBJECT

    const std::shared_ptr<TimeSource> time = systemTime();

  private Q_SLOTS:
    void aTimerFiresOnceOnTheMainThreadAndNotBeforeItsTime() {
        int calls = 0;
        bool onMain = false;
        const auto started = time->now();
        TimeSource::Duration fired{0};
        const auto timer = time->startTimer(30ms, [&] {
            ++calls;
            onMain = MainQueue::isMainThread();
            fired = time->now();
        });
        QVERIFY(waitUntil([&] { return calls > 0; }));
        QVERIFY(onMain);
        QVERIFY(fired - started >= 30ms);
        QTest::qWait(100);
        QCOMPARE(calls, 1);
    }

    void aTimerWithoutADelayStillNeverFiresInsideTheCall() {
        for (const TimeSource::Duration delay : {TimeSource::Duration(0), TimeSource::Duration(-5s)}) {
            int calls = 0;
            const auto timer = time->startTimer(delay, [&] { ++calls; });
            QCOMPARE(calls, 0);
            QVERIFY(waitUntil([&] { return calls == 1; }));
        }
    }

    void aTimerThatIsDestroyedBeforeItsTimeNeverFires() {
        int calls = 0;
        auto timer = time->startTimer(20ms, [&] { ++calls; });
        timer.reset();
        QTest::qWait(100);
        QCOMPARE(calls, 0);
    }

    void workThatArmsTheTimerAnewMayDestroyTheOneThatRunsIt() {
        int calls = 0;
        std::unique_ptr<Timer> timer;
        // The work's captures must live until it returns.
        const std::function<void()> tick = [&, held = std::make_shared<int>(7)] {
            calls += *held == 7 ? 1 : 1000;
            if (calls < 3)
                timer = time->startTimer(1ms, tick);
            else
                timer.reset();
            calls += *held == 7 ? 0 : 1000;
        };
        timer = time->startTimer(1ms, tick);
        QVERIFY(waitUntil([&] { return timer == nullptr; }));
        QTest::qWait(20);
        QCOMPARE(calls, 3);
    }

    void aWaitOfSeveralLegsLastsAsLongAsAllOfThem() {
        int calls = 0;
        const auto started = time->now();
        TimeSource::Duration fired{0};
        const SystemTimer timer(
            95ms,
            [&] {
                ++calls;
                fired = time->now();
            },
            10ms);
        QVERIFY(waitUntil([&] { return calls > 0; }));
        QVERIFY(fired - started >= 95ms);
        QTest::qWait(50);
        QCOMPARE(calls, 1);
    }

    void aWaitThatQtCannotCountIsNeitherOverAtOnceNorTooMuch() {
        int calls = 0;
        const auto month = time->startTimer(SystemTimer::maxQtDelay + 1ms, [&] { ++calls; });
        const auto lifetimes = time->startTimer(std::chrono::hours(2'000'000), [&] { ++calls; });
        QTest::qWait(100);
        QCOMPARE(calls, 0);
    }

    void aDelayedCallComesOnceOnTheMainThread() {
        int calls = 0;
        bool onMain = false;
        time->callAfter(10ms, [&] {
            ++calls;
            onMain = MainQueue::isMainThread();
        });
        QCOMPARE(calls, 0);
        QVERIFY(waitUntil([&] { return calls > 0; }));
        QVERIFY(onMain);
    }
};

TEST_CLASS(SystemTimeTest, QCoreApplication)
#include "SystemTimeTest.moc"

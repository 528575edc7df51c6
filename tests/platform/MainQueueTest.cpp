#include "MainQueue.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace ferrolt;

class MainQueueTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void workRunsOnTheMainThreadInTheOrderOfItsHandOver() {
        std::vector<int> order;
        bool onMain = true;
        std::thread([&] {
            for (int i = 0; i < 1000; ++i) {
                MainQueue::async([&, i] {
                    onMain = onMain && QThread::currentThread() == qApp->thread();
                    order.push_back(i);
                });
            }
        }).join();
        QVERIFY(order.empty());
        QVERIFY(waitUntil([&] { return order.size() == 1000; }));
        QVERIFY(onMain);
        QVERIFY(std::is_sorted(order.begin(), order.end()));
    }

    void whatManyThreadsHandOverWhileTheLoopTurnsAllRunsAndInTheOrderOfEach() {
        constexpr int producers = 4;
        constexpr int each = FERROLT_SANITIZED ? 5'000 : 50'000;
        int next[producers] = {};
        bool inOrder = true;
        std::vector<std::thread> threads;
        threads.reserve(producers);
        for (int &expected : next) {
            threads.emplace_back([&] {
                for (int i = 0; i < each; ++i)
                    MainQueue::async([&, i] { inOrder = inOrder && expected++ == i; });
            });
        }
        const bool allRan =
            waitUntil([&] { return std::all_of(next, next + producers, [](int n) { return n == each; }); });
        for (std::thread &thread : threads)
            thread.join();
        QVERIFY(allRan);
        QVERIFY(inOrder);
    }

    void workNeverRunsInsideTheCallThatHandsItOver() {
        bool ran = false;
        MainQueue::async([&] { ran = true; });
        QVERIFY(!ran);
        QVERIFY(waitUntil([&] { return ran; }));
    }

    void workThatQueuesMoreWorkLeavesRoomForOtherEvents() {
        int turns = 0;
        bool timerFired = false;
        std::function<void()> again = [&] {
            ++turns;
            if (!timerFired)
                MainQueue::async(again);
        };
        QTimer::singleShot(0, this, [&] { timerFired = true; });
        MainQueue::async(again);
        QVERIFY(waitUntil([&] { return timerFired; }));
        QVERIFY(turns > 0);
        QCoreApplication::processEvents();
    }

    void aNestedEventLoopKeepsTheOrder() {
        std::vector<int> order;
        MainQueue::async([&] {
            MainQueue::async([&] { order.push_back(2); });
            waitUntil([&] { return order.size() == 2; });
        });
        MainQueue::async([&] { order.push_back(1); });
        QVERIFY(waitUntil([&] { return order.size() == 2; }));
        QCOMPARE(order, (std::vector<int>{1, 2}));
    }

    void syncReturnsAfterTheWorkHasRun() {
        std::atomic<bool> done = false;
        int value = 0;
        std::thread worker([&] {
            MainQueue::sync([&] { value = 42; });
            done = value == 42;
        });
        QVERIFY(waitUntil([&] { return done.load(); }));
        worker.join();
    }

    void syncFromTheMainThreadRunsAtOnce() {
        bool ran = false;
        MainQueue::sync([&] { ran = true; });
        QVERIFY(ran);
    }
};

/// The queue before, between and after application objects; these need a main() of their own.
namespace {

bool survivesWithoutApplication() {
    bool ran = false;
    MainQueue::async([&] { ran = true; });  // waits for the application to come
    {
        int argc = 0;
        QCoreApplication application(argc, nullptr);
        if (!waitUntil([&] { return ran; }))
            return false;
        std::thread waiting([] { MainQueue::sync([] {}); });
        waiting.detach();
    }
    // Does not depend on an application object, which another thread may be about to destroy.
    bool isAnotherMain = true;
    std::thread([&] { isAnotherMain = MainQueue::isMainThread(); }).join();
    if (!MainQueue::isMainThread() || isAnotherMain)
        return false;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> observer = held;
    MainQueue::async([held = std::move(held)] {});
    // Dropped and freed, and a thread that waits for it does not hang.
    std::thread([] { MainQueue::sync([] {}); }).join();
    return observer.expired();
}

/// Whether applications may come and go while threads hand work over: the work runs while there is an
/// application, no waiting thread hangs, and no work is leaked.
bool survivesApplicationsThatComeAndGo() {
    std::atomic<bool> over = false;
    const auto held = std::make_shared<int>(1);
    constexpr int producers = 3;
    std::vector<std::thread> threads;
    threads.reserve(producers);
    for (int producer = 0; producer < producers; ++producer) {
        threads.emplace_back([&, producer] {
            while (!over) {
                if (producer == 0)
                    MainQueue::sync([] {});
                else
                    MainQueue::async([held] {});
                std::this_thread::yield();
            }
        });
    }
    bool allRan = true;
    for (int round = 0; round < 20 && allRan; ++round) {
        int argc = 0;
        QCoreApplication application(argc, nullptr);
        bool ran = false;
        MainQueue::async([&] { ran = true; });
        allRan = waitUntil([&] { return ran; });
    }
    over = true;
    for (std::thread &thread : threads)
        thread.join();
    return allRan && held.use_count() == 1;
}

}  // namespace

TEST_MAIN(MainQueueTest) {
    if (!survivesWithoutApplication()) {
        qCritical("the queue does not survive the time without an application");
        return 1;
    }
    if (!survivesApplicationsThatComeAndGo()) {
        qCritical("the queue does not survive applications that come and go");
        return 1;
    }
    QCoreApplication application(argc, argv);
    MainQueueTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "MainQueueTest.moc"

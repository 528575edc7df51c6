#include "MainQueue.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>
#include <QTimer>

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
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> observer = held;
    MainQueue::async([held = std::move(held)] {});
    // Refused and freed, not kept for ever; and nobody who waits for it hangs.
    std::thread([] { MainQueue::sync([] {}); }).join();
    return observer.expired();
}

}  // namespace

int main(int argc, char **argv) {
    if (!survivesWithoutApplication()) {
        qCritical("the queue does not survive the time without an application");
        return 1;
    }
    QCoreApplication application(argc, argv);
    MainQueueTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "MainQueueTest.moc"

#include "NetworkThread.h"
#include "Waiting.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <semaphore>
#include <thread>

using namespace ferrolt;
using namespace std::chrono_literals;

class NetworkThreadTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void whoeverWaitsForItsEndWaitsAlsoBesideAnother() {
        std::atomic<bool> isLeaving = false;
        std::atomic<bool> hasLeft = false;
        std::binary_semaphore mayLeave(0);
        const auto network = NetworkThread::start([&] {
            isLeaving = true;
            mayLeave.acquire();
            hasLeft = true;
        });
        QVERIFY(network != nullptr);
        network->finish();
        QVERIFY(waitUntil([&] { return isLeaving.load(); }));
        // A work queue's session goes, and a moment later the application with all sessions.
        std::thread other([&] { network->waitForEnd(20s); });
        QTest::qWait(50);
        std::thread doorman([&] {
            std::this_thread::sleep_for(50ms);
            mayLeave.release();
        });
        network->waitForEnd(20s);
        const bool hadLeft = hasLeft;
        other.join();
        doorman.join();
        QVERIFY(hadLeft);
        network->waitForEnd(20s);  // long over
    }

    void aThreadThatDoesNotEndIsNotWaitedForWithoutLimit() {
        std::binary_semaphore mayLeave(0);
        std::atomic<bool> hasLeft = false;
        const auto network = NetworkThread::start([&] {
            mayLeave.acquire();
            hasLeft = true;
        });
        network->finish();
        network->waitForEnd(50ms);
        QVERIFY(!hasLeft);
        mayLeave.release();
        QVERIFY(waitUntil([&] { return hasLeft.load(); }));
    }
};

QTEST_GUILESS_MAIN(NetworkThreadTest)
#include "NetworkThreadTest.moc"

#include "ProcessFacts.h"
#include "TestProgram.h"
#include "Waiting.h"
#include "WorkQueue.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

qsizetype threadCount() {
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

}  // namespace

class WorkQueueTest : public QObject {
    Q_OBJECT

    qsizetype threadsAtRest = 0;

  private Q_SLOTS:
    void initTestCase() { threadsAtRest = threadCount(); }

    void workRunsInOrderOneAtATime() {
        WorkQueue queue("io.example.order", QualityOfService::Utility);
        std::vector<int> order;
        std::atomic<int> inside = 0;
        std::atomic<bool> overlapped = false;
        std::atomic<int> done = 0;
        for (int i = 0; i < 1000; ++i)
            QVERIFY(queue.async([&, i] {
                if (++inside != 1)
                    overlapped = true;
                order.push_back(i);
                --inside;
                ++done;
            }));
        QVERIFY(waitUntil([&] { return done == 1000; }));
        QVERIFY(!overlapped);
        QCOMPARE(order.size(), std::size_t(1000));
        QVERIFY(std::ranges::is_sorted(order));
    }

    void itsThreadHasTheLabelsLastPartForAName() {
        for (const char *label : {"io.example.named", "named"}) {
            WorkQueue queue(label, QualityOfService::Default);
            std::atomic<int> found = -1;
            QVERIFY(queue.async([&] { found = threadsNamed("named"); }));
            QVERIFY(waitUntil([&] { return found != -1; }));
            QCOMPARE(found.load(), 1);
            QVERIFY(waitUntil([] { return threadsNamed("named") == 0; }));
        }
    }

    void itStaysSerialOverManyThreadsComingAndGoing() {
        WorkQueue queue("io.example.serial", QualityOfService::Default);
        int plain = 0;  // guarded by the queue only
        std::atomic<int> done = 0;
        std::vector<std::thread> callers;
        for (int i = 0; i < 4; ++i)
            callers.emplace_back([&] {
                for (int k = 0; k < 200; ++k) {
                    (void) queue.async([&] {
                        ++plain;
                        ++done;
                    });
                    if (k % 20 == 0)
                        std::this_thread::yield();
                }
            });
        for (std::thread &caller : callers)
            caller.join();
        QVERIFY(waitUntil([&] { return done == 800; }));
        QCOMPARE(plain, 800);
    }

    void workRunsOffTheCallersThreadUnderTheLabelsLastPart() {
        WorkQueue queue("io.example.launcher.libreoffice-install", QualityOfService::Utility);
        QCOMPARE(queue.label(), std::string("io.example.launcher.libreoffice-install"));
        std::thread::id thread;
        std::atomic<int> nice = 0;
        QByteArray name;
        std::atomic<bool> done = false;
        QVERIFY(queue.async([&] {
            thread = std::this_thread::get_id();
            QFile file(QStringLiteral("/proc/self/task/%1/comm").arg(gettid()));
            if (file.open(QIODevice::ReadOnly))
                name = file.readAll().trimmed();
            nice = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
            done = true;
        }));
        QVERIFY(waitUntil([&] { return done.load(); }));
        QVERIFY(thread != std::this_thread::get_id());
        QCOMPARE(name, QByteArray("libreoffice-ins"));
        QVERIFY(nice > getpriority(PRIO_PROCESS, 0) || nice == 19);
    }

    void workMayQueueMoreWork() {
        auto queue = std::make_shared<WorkQueue>("io.example.more", QualityOfService::Default);
        std::atomic<bool> done = false;
        QVERIFY(queue->async([&, queue] { (void) queue->async([&] { done = true; }); }));
        QVERIFY(waitUntil([&] { return done.load(); }));
    }

    void destroyingAQueueNeitherWaitsNorLosesWork() {
        std::atomic<bool> release = false;
        std::atomic<int> done = 0;
        {
            WorkQueue queue("io.example.gone", QualityOfService::Default);
            for (int i = 0; i < 3; ++i)
                QVERIFY(queue.async([&] {
                    while (!release)
                        std::this_thread::yield();
                    ++done;
                }));
        }
        QCOMPARE(done, 0);
        release = true;
        QVERIFY(waitUntil([&] { return done == 3; }));
    }

    void waitingEndsWithTheLastWorkOrWithTheTime() {
        WorkQueue queue("io.example.wait", QualityOfService::Default);
        QVERIFY(queue.waitUntilDone(0ms));
        std::atomic<bool> release = false;
        std::atomic<int> done = 0;
        for (int i = 0; i < 3; ++i)
            QVERIFY(queue.async([&] {
                while (!release)
                    std::this_thread::yield();
                ++done;
            }));
        QVERIFY(!queue.waitUntilDone(0ms));
        QVERIFY(!queue.waitUntilDone(20ms));
        release = true;
        QVERIFY(queue.waitUntilDone(20s));
        QCOMPARE(done, 3);
    }

    void thereIsNoThreadWithoutWork() {
        QVERIFY(waitUntil([&] { return threadCount() == threadsAtRest; }));  // of the tests before
        WorkQueue queue("io.example.idle", QualityOfService::Default);
        QCOMPARE(threadCount(), threadsAtRest);
        for (int round = 0; round < 5; ++round) {
            std::atomic<bool> done = false;
            QVERIFY(queue.async([&] { done = true; }));
            QVERIFY(waitUntil([&] { return done.load(); }));
            QVERIFY(waitUntil([&] { return threadCount() == threadsAtRest; }));
        }
    }

    void whatWorkHoldsIsLetGoAfterIt() {
        WorkQueue queue("io.example.release", QualityOfService::Default);
        auto held = std::make_shared<int>(1);
        QVERIFY(queue.async([held] {}));
        QVERIFY(waitUntil([&] { return held.use_count() == 1; }));
    }
};

TEST_CLASS(WorkQueueTest, QCoreApplication)
#include "WorkQueueTest.moc"

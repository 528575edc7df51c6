#include "LogThrottle.h"
#include "MainQueue.h"
#include "ManualTime.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QTest>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

using namespace ferrolt;
using namespace std::chrono_literals;

/// Time stands still unless a test moves it, so each hand-over comes at a known moment.
class LogThrottleTest : public QObject {
    Q_OBJECT

    struct HandOver {
        TimeSource::Duration at;  ///< since the test began
        std::size_t elements;
        bool operator==(const HandOver &) const = default;
    };

    /// A throttle whose elements are numbers, and what it has handed over.
    struct Receipts {
        std::vector<int> elements;
        std::vector<HandOver> handOvers;
        std::shared_ptr<ManualTime> time = std::make_shared<ManualTime>();
        std::shared_ptr<LogThrottle> throttle;

        explicit Receipts(std::shared_ptr<TimeSource> other = nullptr)
            : throttle(std::make_shared<LogThrottle>(
                  [this](const std::vector<LogElement> &arrived) {
                      handOvers.push_back({time->now(), arrived.size()});
                      for (const LogElement &element : arrived)
                          elements.push_back(element.toInt());
                  },
                  other ? std::move(other) : time)) {}

        ~Receipts() {
            throttle->close();  // no delivery refers to this any more
            // The time and the throttle own each other until the last refresh is over.
            while (time->pending() > 0)
                time->advance(time->nextDelay());
        }

        void post(int number) const { throttle->post(QByteArray::number(number)); }
        void post(int from, int end) const {
            for (int i = from; i < end; ++i)
                post(i);
        }
        /// The main thread does what it was woken for.
        static void turn() { QCoreApplication::processEvents(); }
        void advance(TimeSource::Duration duration) const {
            time->advance(duration);
            turn();
        }
        /// Posts `count` elements, one in each `period`, to a main thread that is never busy.
        void postSteadily(int count, TimeSource::Duration period) const {
            for (int i = 0; i < count; ++i) {
                post(i);
                turn();
                advance(period);
            }
        }
    };

    static std::vector<int> numbers(int from, int end) {
        std::vector<int> all;
        for (int i = from; i < end; ++i)
            all.push_back(i);
        return all;
    }

  private Q_SLOTS:
    void nothingIsHandedOverWithoutAnElement() {
        const Receipts r;
        r.throttle->handOver();
        r.advance(1s);
        QVERIFY(r.handOvers.empty());
        QCOMPARE(r.time->pending(), std::size_t(0));
    }

    void atALeisurelyPaceEachElementIsHandedOverByItselfAndAtOnce() {
        const Receipts r;
        r.postSteadily(20, 17ms);
        QCOMPARE(r.elements, numbers(0, 20));
        for (int i = 0; i < 20; ++i)
            QVERIFY((r.handOvers.at(static_cast<std::size_t>(i)) == HandOver{i * 17ms, 1}));
    }

    void ofAPairTheSecondIsHandedOverAtTheNextRefresh() {
        const Receipts r;
        r.post(0);
        r.turn();
        r.advance(1ms);
        r.post(1);
        r.turn();
        QCOMPARE(r.elements, numbers(0, 1));
        r.advance(15ms - 1ns);
        QCOMPARE(r.elements, numbers(0, 1));
        r.advance(1ns);
        QVERIFY((r.handOvers == std::vector<HandOver>{{0ms, 1}, {16ms, 1}}));
    }

    void aRefreshWithoutElementsEndsTheWaitForFurtherOnes() {
        const Receipts r;
        r.post(0);
        r.turn();
        QCOMPARE(r.time->pending(), std::size_t(1));
        r.advance(16ms);
        QCOMPARE(r.time->pending(), std::size_t(0));  // an idle launcher does not wake
        r.post(1);
        r.turn();
        QVERIFY((r.handOvers == std::vector<HandOver>{{0ms, 1}, {16ms, 1}}));
    }

    void sixtyASecondAreEachHandedOverAtOnce() {
        const Receipts r;
        const TimeSource::Duration period = 1'000'000'000ns / 60;
        r.postSteadily(60, period);
        QCOMPARE(r.handOvers.size(), std::size_t(60));
        for (int i = 0; i < 60; ++i)
            QVERIFY((r.handOvers.at(static_cast<std::size_t>(i)) == HandOver{i * period, 1}));
    }

    void aThousandASecondAreHandedOverOncePerRefresh() {
        const Receipts r;
        r.postSteadily(1000, 1ms);
        r.advance(16ms);
        QCOMPARE(r.elements, numbers(0, 1000));
        std::vector<HandOver> expected{{0ms, 1}, {16ms, 15}};  // the 16th arrives right after the refresh
        for (int refresh = 2; refresh <= 62; ++refresh)
            expected.push_back({refresh * 16ms, 16});
        expected.push_back({63 * 16ms, 1000 - 1 - 15 - 61 * 16});
        QVERIFY(r.handOvers == expected);
    }

    void theFirstElementOfAFloodIsHandedOverAtOnce() {
        const Receipts r;
        r.post(0);
        r.turn();
        QCOMPARE(r.elements, numbers(0, 1));
    }

    void inAFloodTheMainThreadIsWokenOncePer128Elements() {
        const Receipts r;
        r.postSteadily(10'000, 20us);  // fifty thousand a second
        r.advance(16ms);
        QCOMPARE(r.elements, numbers(0, 10'000));
        std::vector<HandOver> expected{{0ms, 1}};
        for (int batch = 1; batch <= 78; ++batch)
            expected.push_back({batch * 128 * 20us, 128});
        expected.push_back({78 * 128 * 20us + 16ms, 10'000 - 1 - 78 * 128});
        QVERIFY(r.handOvers == expected);
    }

    void aBatchOf128PutsTheRefreshOff() {
        const Receipts r;
        r.post(0);
        r.turn();
        r.advance(10ms);
        r.post(1, 128);
        r.turn();
        QCOMPARE(r.elements, numbers(0, 1));
        r.post(128);
        r.turn();
        r.post(129);
        r.advance(16ms);
        QVERIFY((r.handOvers == std::vector<HandOver>{{0ms, 1}, {10ms, 128}, {26ms, 1}}));
    }

    void afterAFloodItIsPromptAgain() {
        const Receipts r;
        r.postSteadily(1000, 20us);
        r.advance(32ms);
        QCOMPARE(r.elements.size(), std::size_t(1000));
        const std::size_t before = r.handOvers.size();
        for (int i = 1000; i < 1010; ++i) {
            r.post(i);
            r.turn();
            QCOMPARE(r.elements, numbers(0, i + 1));
            r.advance(16ms);
        }
        QCOMPARE(r.handOvers.size(), before + 10);
    }

    void whatWaitsForABusyMainThreadIsHandedOverInOneBatch() {
        const Receipts r;
        r.post(0);
        r.turn();
        r.post(1, 500);  // wakes the main thread, which does not come
        r.time->advance(100ms);
        r.post(500, 600);
        r.turn();
        QCOMPARE(r.elements, numbers(0, 600));
        QVERIFY((r.handOvers == std::vector<HandOver>{{0ms, 1}, {100ms, 599}}));
        r.post(600);
        r.turn();
        QCOMPARE(r.handOvers.size(), std::size_t(2));
        r.advance(16ms);
        QVERIFY((r.handOvers.back() == HandOver{116ms, 1}));
    }

    void theNewest1000WaitForABusyMainThreadInOrder() {
        const Receipts r;
        std::thread([&] { r.post(0, 5000); }).join();
        r.turn();
        QCOMPARE(r.elements, numbers(4000, 5000));
        QCOMPARE(r.handOvers.size(), std::size_t(1));
    }

    void nothingIsLostBetweenAThreadThatFloodsAndTheLoop() {
        Receipts r(systemTime());
        constexpr int count = 900;  // all may wait at the same time
        for (int round = 0; round < 20; ++round) {
            r.elements.clear();
            std::thread reader([&] { r.post(0, count); });
            const bool allCame = waitUntil([&] { return r.elements.size() == std::size_t(count); });
            reader.join();
            QVERIFY(allCame);
            QCOMPARE(r.elements, numbers(0, count));
        }
    }

    void aHandOverThatIsAskedForComesAtOnceAndPutsTheRefreshOff() {
        const Receipts r;
        r.post(0);
        r.turn();
        r.advance(5ms);
        r.post(1);
        r.throttle->handOver();
        QCOMPARE(r.elements, numbers(0, 2));
        r.post(2);
        r.advance(16ms);
        QVERIFY((r.handOvers == std::vector<HandOver>{{0ms, 1}, {5ms, 1}, {21ms, 1}}));
    }

    void aHandOverThatIsAskedForTakesThePlaceOfTheOneThatWasUnderWay() {
        const Receipts r;
        r.post(0);  // wakes the main thread
        r.throttle->handOver();
        r.post(1);
        r.turn();
        QCOMPARE(r.elements, numbers(0, 1));
        r.advance(16ms);
        QVERIFY((r.handOvers == std::vector<HandOver>{{0ms, 1}, {16ms, 1}}));
    }

    void theCloseDeliversWhatWaitsAndNothingElse() {
        const Receipts r;
        r.post(0);
        r.turn();
        r.post(1);
        r.throttle->close();
        QCOMPARE(r.elements, numbers(0, 2));
        r.post(2);
        r.advance(16ms);
        r.throttle->handOver();
        QCOMPARE(r.elements, numbers(0, 2));
    }

    void aDeliveryIsMadeOnTheMainThread() {
        bool isMain = false;
        const auto throttle = std::make_shared<LogThrottle>(
            [&](const std::vector<LogElement> &) { isMain = MainQueue::isMainThread(); });
        std::thread([&] { throttle->post("x"); }).join();
        QVERIFY(waitUntil([&] { return isMain; }));
        throttle->close();
    }
};

TEST_CLASS(LogThrottleTest, QCoreApplication)
#include "LogThrottleTest.moc"

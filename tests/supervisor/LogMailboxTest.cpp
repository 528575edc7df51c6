#include "LogMailbox.h"
#include "MainQueue.h"
#include "Waiting.h"

#include <QTest>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

using namespace ferrolt;
using namespace std::chrono_literals;

class LogMailboxTest : public QObject {
    Q_OBJECT

    /// A mailbox whose elements are numbers, and what came of them.
    struct Receipts {
        std::vector<int> elements;
        std::vector<std::size_t> deliveries;  ///< their sizes
        LogAudience audience = LogAudience::Watching;
        std::shared_ptr<LogMailbox> mailbox = std::make_shared<LogMailbox>(
            [this](std::vector<LogElement> arrived) {
                deliveries.push_back(arrived.size());
                for (const LogElement &element : arrived)
                    elements.push_back(element.toInt());
                return arrived;
            },
            [this] { return audience; });

        void post(int number) const { mailbox->post(QByteArray::number(number)); }
        ~Receipts() {
            mailbox->handOverNow();  // what waits holds this
            bool isOver = false;
            MainQueue::async([&] { isOver = true; });
            waitUntil([&] { return isOver; });
        }
    };

    static std::vector<int> numbers(int from, int end) {
        std::vector<int> all;
        for (int i = from; i < end; ++i)
            all.push_back(i);
        return all;
    }

    /// What has been posted, to see when nobody else holds it any more.
    static std::vector<LogElement> posted(const Receipts &r, int count) {
        std::vector<LogElement> all;
        for (int i = 0; i < count; ++i) {
            all.push_back(QByteArray::number(i));
            r.mailbox->post(all.back());
        }
        return all;
    }
    static bool isFree(const std::vector<LogElement> &elements) {
        return std::all_of(elements.begin(), elements.end(),
                           [](const LogElement &element) { return element.isDetached(); });
    }

  private Q_SLOTS:
    void atALeisurelyPaceEachElementIsHandedOverByItselfAndAtOnce() {
        Receipts r;
        for (int i = 0; i < 10; ++i) {
            std::this_thread::sleep_for(LogMailbox::restWatched + 1ms);
            r.post(i);
            QCoreApplication::processEvents();
            QCOMPARE(r.elements, numbers(0, i + 1));
        }
        QCOMPARE(r.deliveries, std::vector<std::size_t>(10, 1));
    }

    void ofAThousandASecondMostAreInTheLogWithinAMillisecondThoughTheyShareHandOvers() {
        using Clock = std::chrono::steady_clock;
        Receipts r;
        constexpr int count = 200;
        std::vector<Clock::duration> delays;
        std::vector<Clock::time_point> posted;
        // A busy machine stands still for longer than what is measured here.
        QVERIFY(waitUntil([&] {
            delays.clear();
            posted.clear();
            r.elements.clear();
            r.deliveries.clear();
            const auto begin = Clock::now();
            while (delays.size() < std::size_t(count)) {
                const auto now = Clock::now();
                if (posted.size() < std::size_t(count) && now >= begin + posted.size() * 1ms) {
                    posted.push_back(now);
                    r.post(int(posted.size()));
                }
                QCoreApplication::processEvents();
                while (delays.size() < r.elements.size())
                    delays.push_back(Clock::now() - posted.at(delays.size()));
            }
            std::nth_element(delays.begin(), delays.begin() + count / 2, delays.end());
            const auto shared = r.deliveries.size();
            return delays.at(count / 2) < 1ms && shared > count / 2 && shared < count * 3 / 4;
        }));
        QCOMPARE(r.elements, numbers(1, count + 1));
    }

    void aFewElementsInARowAreEachHandedOverAtOnceWhileTheyAreWatched() {
        Receipts r;
        int next = 0;
        for (int burst = 0; burst < 5; ++burst) {
            std::this_thread::sleep_for(LogMailbox::pause + 1ms);
            for (int i = 0; i < LogMailbox::mostFrequent; ++i) {
                r.post(next++);
                QCoreApplication::processEvents();
                QCOMPARE(r.elements, numbers(0, next));
            }
        }
    }

    void whileNobodyWatchesWhatComesNowAndThenIsHandedOverAtOnceAllTheSame() {
        Receipts r;
        r.audience = LogAudience::Nobody;
        for (int i = 0; i < 10; ++i) {
            std::this_thread::sleep_for(LogMailbox::pause + 1ms);
            r.post(i);
            QCoreApplication::processEvents();
            QCOMPARE(r.elements, numbers(0, i + 1));
        }
    }

    void whileNobodyWatchesTheElementsOfAChildThatWritesOftenShareHandOvers() {
        Receipts r;
        r.audience = LogAudience::Nobody;
        int next = 0;
        // Two must come within a moment, which a busy machine does not always grant.
        QVERIFY(waitUntil([&] {
            r.post(next++);
            QCoreApplication::processEvents();
            r.post(next++);
            QCoreApplication::processEvents();
            const std::size_t before = r.deliveries.size();
            r.post(next++);
            r.post(next++);
            QCoreApplication::processEvents();
            const bool atOnce = r.deliveries.size() > before;
            const bool allCame = waitUntil([&] { return r.elements.size() == std::size_t(next); });
            return allCame && !atOnce && r.deliveries.size() == before + 1;
        }));
        QCOMPARE(r.elements, numbers(0, next));
    }

    void aRestThatBringsOneElementIsTheLast() {
        Receipts r;
        r.audience = LogAudience::Nobody;
        int next = 0;
        QVERIFY(waitUntil([&] {
            for (int i = 0; i < 3; ++i) {
                r.post(next++);
                QCoreApplication::processEvents();
            }
            const bool rested = r.elements.size() < std::size_t(next);
            return waitUntil([&] { return r.elements.size() == std::size_t(next); }) && rested;
        }));
        r.post(next++);
        QCoreApplication::processEvents();
        QCOMPARE(r.elements, numbers(0, next));
    }

    void aRestInWhichManyComeEndsAtOnce() {
        Receipts r;
        r.audience = LogAudience::Nobody;
        int next = 0;
        const auto postMany = [&](std::size_t count) {
            for (std::size_t i = 0; i < count; ++i)
                r.post(next++);
            QCoreApplication::processEvents();
        };
        QVERIFY(waitUntil([&] {
            postMany(1);
            postMany(1);
            const std::size_t before = r.elements.size();
            postMany(LogMailbox::mostInRest);
            const bool rested = r.elements.size() == before;
            postMany(1);
            const bool ended = r.elements.size() == std::size_t(next);
            return waitUntil([&] { return r.elements.size() == std::size_t(next); }) && rested && ended;
        }));
        QCOMPARE(r.elements, numbers(0, next));
    }

    void theFirstElementOfAFloodIsHandedOverAtOnce() {
        Receipts r;
        r.post(0);
        QCoreApplication::processEvents();
        QCOMPARE(r.elements, numbers(0, 1));
    }

    void inAFloodTheMainThreadIsCalledOnlyEveryFewMilliseconds() {
        Receipts r;
        const auto begin = std::chrono::steady_clock::now();
        int count = 0;
        auto next = begin;
        for (auto now = begin; now - begin < 200ms; now = std::chrono::steady_clock::now()) {
            if (now >= next) {
                r.post(count++);
                next = now + 20us;  // fifty thousand a second, or fewer: what can wait is less than 1000
            }
            QCoreApplication::processEvents();  // as if nothing else kept the main thread
        }
        QVERIFY(waitUntil([&] { return r.elements.size() == std::size_t(count); }));
        const auto took = std::chrono::steady_clock::now() - begin;
        QCOMPARE(r.elements, numbers(0, count));
        // In a pause's time no more come one by one than make a flood of it.
        QVERIFY(r.deliveries.size() <=
                (LogMailbox::mostPrompt + 1) * std::size_t(took / LogMailbox::pause + 2));
    }

    void afterAFloodItIsPromptAgain() {
        Receipts r;
        for (int i = 0; i < 100; ++i) {
            r.post(i);
            QCoreApplication::processEvents();
        }
        QVERIFY(waitUntil([&] { return r.elements.size() == 100; }));
        const std::size_t before = r.deliveries.size();
        QVERIFY(waitUntil([&, next = 100]() mutable {
            QThread::msleep(1);
            r.post(next++);
            QCoreApplication::processEvents();
            return r.elements.size() == std::size_t(next) && r.deliveries.size() > before + 3 &&
                   r.deliveries.back() == 1;
        }));
    }

    void whatAFloodOutdatesIsFreedByTheThreadThatPosts() {
        Receipts r;
        // On a busy machine the hand-over that frees what is left may come first.
        QVERIFY(waitUntil([&] {
            for (int i = 0; i < 50; ++i) {
                r.post(i);
                QCoreApplication::processEvents();
            }
            const std::vector<LogElement> kept = posted(r, 100);
            const std::size_t before = r.elements.size();
            const bool allCame = waitUntil([&] { return r.elements.size() >= before + 100; });
            const bool held = !isFree(kept);
            r.post(100);
            return allCame && held && isFree(kept);
        }));
    }

    void whatAFloodOutdatesIsNotHeldForLongWhenNothingElseIsPosted() {
        Receipts r;
        const std::vector<LogElement> kept = posted(r, 100);
        QVERIFY(waitUntil([&] { return !r.elements.empty() && isFree(kept); }));
    }

    void theNewest1000WaitForABusyMainThreadInOrder() {
        Receipts r;
        std::thread([&] {
            for (int i = 0; i < 5000; ++i)
                r.post(i);
        }).join();
        QVERIFY(waitUntil([&] { return !r.elements.empty(); }));
        QCOMPARE(r.elements, numbers(4000, 5000));
    }

    void nothingIsLostBetweenAThreadThatFloodsAndTheLoop() {
        Receipts r;
        constexpr int count = 900;  // all may wait at the same time
        for (int round = 0; round < 20; ++round) {
            r.elements.clear();
            std::thread reader([&] {
                for (int i = 0; i < count; ++i)
                    r.post(i);
            });
            const bool allCame = waitUntil([&] { return r.elements.size() == std::size_t(count); });
            reader.join();
            QVERIFY(allCame);
            QCOMPARE(r.elements, numbers(0, count));
        }
    }

    void whatWaitsInAPauseComesBeforeWhatIsHandedOverAfterIt() {
        Receipts r;
        for (int i = 0; i < 100; ++i) {  // a flood, so that the last ones wait for the end of a pause
            r.post(i);
            QCoreApplication::processEvents();
        }
        std::vector<int> before;
        r.post(100);
        r.mailbox->handOverNow();
        MainQueue::async([&] { before = r.elements; });
        QVERIFY(waitUntil([&] { return !before.empty(); }));
        QCOMPARE(before, numbers(0, 101));
    }
};

QTEST_GUILESS_MAIN(LogMailboxTest)
#include "LogMailboxTest.moc"

#include "LogMailbox.h"
#include "MainQueue.h"
#include "ManualTime.h"
#include "Waiting.h"

#include <QTest>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

using namespace ferrolt;
using namespace std::chrono_literals;

/// Time stands still but where a test moves it, so that each hand-over comes at a known moment.
class LogMailboxTest : public QObject {
    Q_OBJECT

    /// A mailbox whose elements are numbers, and what came of them.
    struct Receipts {
        std::vector<int> elements;
        std::vector<std::size_t> deliveries;  ///< their sizes
        LogAudience audience = LogAudience::Watching;
        std::shared_ptr<ManualTime> time = std::make_shared<ManualTime>();
        std::shared_ptr<LogMailbox> mailbox;

        explicit Receipts(std::shared_ptr<TimeSource> other = nullptr)
            : mailbox(std::make_shared<LogMailbox>(
                  [this](std::vector<LogElement> arrived) {
                      deliveries.push_back(arrived.size());
                      for (const LogElement &element : arrived)
                          elements.push_back(element.toInt());
                      return arrived;
                  },
                  [this] { return audience; }, other ? std::move(other) : time)) {
            time->advance(1s);  // of silence
        }

        void post(int number) const { mailbox->post(QByteArray::number(number)); }
        /// The main thread does what it has been woken for.
        static void turn() { QCoreApplication::processEvents(); }
        void postAndTurn(int number) const {
            post(number);
            turn();
        }
        /// A hundred elements at one moment, each handed over by itself if the mailbox lets it.
        void flood() const {
            for (int i = 0; i < 100; ++i)
                postAndTurn(i);
        }
        ~Receipts() {
            mailbox->handOverNow();  // what waits holds this
            bool isOver = false;
            MainQueue::async([&] { isOver = true; });
            waitUntil([&] { return isOver; });
            // The time and the mailbox hold each other until the pauses are over.
            while (time->pending() > 0) {
                time->advance(time->nextDelay());
                turn();
            }
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
        for (int i = 0; i < 20; ++i) {
            r.time->advance(3ms);
            r.postAndTurn(i);
            QCOMPARE(r.elements, numbers(0, i + 1));
        }
        QCOMPARE(r.deliveries, std::vector<std::size_t>(20, 1));
    }

    void ofAThousandASecondMostAreInTheLogWithinAMillisecondThoughTheyShareHandOvers() {
        Receipts r;
        for (int i = 0; i < 9; ++i) {  // the first ones in a row are prompt
            r.time->advance(999us);
            r.postAndTurn(i);
            QCOMPARE(r.elements.size(), std::size_t(i + 1));
        }
        r.deliveries.clear();
        std::vector<int> prompt;
        for (int i = 9; i < 209; ++i) {
            r.time->advance(999us);
            r.postAndTurn(i);
            prompt.push_back(r.elements.size() == std::size_t(i + 1));
        }
        r.time->advance(2ms);
        QCOMPARE(r.elements, numbers(0, 209));
        // Of five elements two share a hand-over, two more the next one, and one has its own.
        QCOMPARE(std::count(prompt.begin(), prompt.end(), 1), 40);
        QCOMPARE(r.deliveries.size(), std::size_t(120));
        QCOMPARE(*std::max_element(r.deliveries.begin(), r.deliveries.end()), std::size_t(2));
    }

    void aFewElementsInARowAreEachHandedOverAtOnceWhileTheyAreWatched() {
        Receipts r;
        int next = 0;
        for (int burst = 0; burst < 5; ++burst) {
            r.time->advance(5ms);
            for (int i = 0; i < 9; ++i) {
                r.postAndTurn(next++);
                QCOMPARE(r.elements, numbers(0, next));
            }
        }
    }

    void whileNobodyWatchesWhatComesNowAndThenIsHandedOverAtOnceAllTheSame() {
        Receipts r;
        r.audience = LogAudience::Nobody;
        for (int i = 0; i < 10; ++i) {
            r.time->advance(5ms);
            r.postAndTurn(i);
            QCOMPARE(r.elements, numbers(0, i + 1));
        }
    }

    void whileNobodyWatchesTheElementsOfAChildThatWritesOftenShareHandOvers() {
        Receipts r;
        r.audience = LogAudience::Nobody;
        r.postAndTurn(0);
        r.time->advance(4ms);
        r.postAndTurn(1);
        QCOMPARE(r.elements, numbers(0, 2));
        r.postAndTurn(2);
        r.time->advance(19ms);
        r.postAndTurn(3);
        QCOMPARE(r.elements, numbers(0, 2));
        r.time->advance(1ms);
        QCOMPARE(r.elements, numbers(0, 4));
        QCOMPARE(r.deliveries, (std::vector<std::size_t>{1, 1, 2}));
        // It has brought several, so the next one lasts as long.
        r.postAndTurn(4);
        r.time->advance(19ms);
        QCOMPARE(r.elements, numbers(0, 4));
        r.time->advance(1ms);
        QCOMPARE(r.elements, numbers(0, 5));
    }

    void aRestThatBringsOneElementIsTheLast() {
        Receipts r;
        r.audience = LogAudience::Nobody;
        r.postAndTurn(0);
        r.postAndTurn(1);
        r.postAndTurn(2);
        QCOMPARE(r.elements, numbers(0, 2));
        r.time->advance(20ms);
        QCOMPARE(r.elements, numbers(0, 3));
        r.postAndTurn(3);
        QCOMPARE(r.elements, numbers(0, 4));
    }

    void aRestInWhichManyComeEndsAtOnce() {
        Receipts r;
        r.audience = LogAudience::Nobody;
        r.postAndTurn(0);
        r.postAndTurn(1);
        for (int i = 2; i < 66; ++i)
            r.postAndTurn(i);
        QCOMPARE(r.elements, numbers(0, 2));
        r.postAndTurn(66);
        QCOMPARE(r.elements, numbers(0, 67));
        // The end that the rest would have had means nothing any more: what comes now is a flood's.
        const auto before = r.deliveries.size();
        r.time->advance(20ms);
        QCOMPARE(r.deliveries.size(), before);
    }

    void theFirstElementOfAFloodIsHandedOverAtOnce() {
        Receipts r;
        r.postAndTurn(0);
        QCOMPARE(r.elements, numbers(0, 1));
    }

    void inAFloodTheMainThreadIsCalledOnlyEveryFewMilliseconds() {
        Receipts r;
        for (int i = 0; i < 10'000; ++i) {  // fifty thousand a second, for 200 ms
            r.time->advance(20us);
            r.postAndTurn(i);
        }
        r.time->advance(4ms);
        QCOMPARE(r.elements, numbers(0, 10'000));
        QVERIFY2(r.deliveries.size() <= 50 + 17, qPrintable(QString::number(r.deliveries.size())));
    }

    void afterAFloodItIsPromptAgain() {
        Receipts r;
        r.flood();
        r.time->advance(8ms);
        QCOMPARE(r.elements.size(), std::size_t(100));
        for (int i = 100; i < 110; ++i) {
            r.time->advance(3ms);
            r.postAndTurn(i);
            QCOMPARE(r.elements.size(), std::size_t(i + 1));
        }
    }

    void whatAFloodOutdatesIsFreedByTheThreadThatPosts() {
        Receipts r;
        r.flood();
        const std::vector<LogElement> kept = posted(r, 100);
        r.time->advance(4ms);  // the delivery gives them back
        QVERIFY(!isFree(kept));
        r.post(100);
        QVERIFY(isFree(kept));
    }

    void whatAFloodOutdatesIsNotHeldForLongWhenNothingElseIsPosted() {
        Receipts r;
        r.flood();
        const std::vector<LogElement> kept = posted(r, 100);
        r.time->advance(4ms);
        QVERIFY(!isFree(kept));
        r.time->advance(4ms);
        QVERIFY(isFree(kept));
    }

    void theNewest1000WaitForABusyMainThreadInOrder() {
        Receipts r;
        std::thread([&] {
            for (int i = 0; i < 5000; ++i)
                r.post(i);
        }).join();
        r.turn();
        QCOMPARE(r.elements, numbers(4000, 5000));
    }

    void nothingIsLostBetweenAThreadThatFloodsAndTheLoop() {
        Receipts r(systemTime());
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
        r.flood();  // so that the last ones wait for the end of a pause
        QVERIFY(r.elements.size() < 100);
        std::vector<int> before;
        r.post(100);
        r.mailbox->handOverNow();
        MainQueue::async([&] { before = r.elements; });
        r.turn();
        QCOMPARE(before, numbers(0, 101));
    }
};

QTEST_GUILESS_MAIN(LogMailboxTest)
#include "LogMailboxTest.moc"

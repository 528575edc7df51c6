#include "ChunkDecoder.h"
#include "MainQueue.h"
#include "OutputReader.h"
#include "Pipe.h"
#include "ProcessFacts.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QTest>
#include <QThread>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <sys/ioctl.h>
#include <unistd.h>

using namespace ferrolt;

class OutputReaderTest : public QObject {
    Q_OBJECT

    /// A reader on a pipe that the test writes to, as a child would.
    struct Subscription {
        Pipe pipe = Pipe::open();
        std::vector<LogElement> elements;
        bool onMain = true;
        ObserverToken reader = OutputReader::attachReader(
            std::move(pipe.readingEnd), [this](const std::vector<LogElement> &arrived) {
                onMain = onMain && MainQueue::isMainThread();
                elements.insert(elements.end(), arrived.begin(), arrived.end());
            });

        Subscription() { reader->begin(); }

        void write(const std::string &bytes) const {
            for (std::size_t at = 0; at < bytes.size();)
                at += static_cast<std::size_t>(std::max<ssize_t>(
                    0, ::write(pipe.writingEnd.get(), bytes.data() + at, bytes.size() - at)));
        }
        bool waitFor(std::size_t count) const {
            return waitUntil([&] { return elements.size() >= count; });
        }
        /// Until the reader has taken everything out of the pipe, whether or not it made an element of it.
        bool waitUntilRead() const {
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
            for (int left = 1; std::chrono::steady_clock::now() < deadline; std::this_thread::yield()) {
                if (::ioctl(pipe.writingEnd.get(), FIONREAD, &left) == 0 && left == 0)
                    return true;
            }
            return false;
        }
        ~Subscription() {
            pipe.writingEnd.close();
            reader->childHasEnded();
            reader->detach();  // no delivery refers to this any more
        }
    };

  private Q_SLOTS:
    void aThreeByteCharacterSplitOneAndTwoArrivesWholeInTheSecondElement() {
        Subscription s;
        s.write("\xE2");
        QVERIFY(s.waitUntilRead());
        s.write("\x82\xAC");
        QVERIFY(s.waitFor(1));
        s.write("x");
        QVERIFY(s.waitFor(2));
        QCOMPARE(s.elements, (std::vector<LogElement>{"\xE2\x82\xAC", "x"}));
    }

    void bytesThatAreNotUtf8AreEmittedWithReplacementCharacters() {
        Subscription s;
        s.write("\xFF\xFE\xFD\xFC");
        QVERIFY(s.waitFor(1));
        QCOMPARE(s.elements.front(), LogElement("\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"));
    }

    void aReadOfASingleInvalidByteEmitsNothingUntilMoreThanThreeArePending() {
        Subscription s;
        s.write("\xFF");
        QVERIFY(s.waitUntilRead());
        s.write("abc");
        QVERIFY(s.waitFor(1));
        QCOMPARE(s.elements, (std::vector<LogElement>{"\xEF\xBF\xBD"
                                                      "abc"}));
    }

    void oneReadOfSeveralLinesIsOneElementAndTheNextReadANewOne() {
        Subscription s;
        s.write("line one\nline two\npart");
        QVERIFY(s.waitFor(1));
        s.write(" of line three\n");
        QVERIFY(s.waitFor(2));
        QCOMPARE(s.elements, (std::vector<LogElement>{"line one\nline two\npart", " of line three\n"}));
    }

    void afterTheChildsEndNoFurtherElementsArrive() {
        Subscription s;
        s.write("before\xE2\x82");  // and the beginning of a character
        QVERIFY(s.waitFor(1));
        s.pipe.writingEnd.close();
        s.reader->childHasEnded();
        s.reader->handOver();
        QCOMPARE(s.elements, (std::vector<LogElement>{"before"}));
    }

    void noElementIsLargerThanTheMaxWhateverTheChildWrites() {
        const std::string invalid(300'000, '\xFF');
        std::string euros;  // no character of which ends where a read does
        while (euros.size() < 300'000)
            euros += "\xE2\x82\xAC";
        for (const std::string &bytes : {invalid, euros, invalid + euros}) {
            Subscription s;
            s.write(bytes);
            QVERIFY(s.waitUntilRead());
            s.write("end.");
            QVERIFY(waitUntil([&] { return !s.elements.empty() && s.elements.back().endsWith("end."); }));
            for (const LogElement &element : s.elements)
                QVERIFY(element.size() <= qsizetype(ChunkDecoder::maxText));
        }
    }

    void elementsAreDeliveredOnTheMainThread() {
        Subscription s;
        s.write("x");
        QVERIFY(s.waitFor(1));
        QVERIFY(s.onMain);
    }

    void aDetachedReaderEmptiesThePipeButDeliversNothingMore() {
        Subscription s;
        s.write("read");
        QVERIFY(s.waitFor(1));
        s.reader->detach();
        s.write("not read");
        QVERIFY(s.waitUntilRead());
        s.pipe.writingEnd.close();
        s.reader->childHasEnded();
        s.reader->handOver();
        QCOMPARE(s.elements, (std::vector<LogElement>{"read"}));
    }

    void whatArrivedBeforeADetachIsDeliveredByItAndNothingAfterIt() {
        Subscription s;
        s.write("one");
        QVERIFY(s.waitUntilRead());
        s.write("two");
        QVERIFY(s.waitUntilRead());  // so "one" has arrived; the main thread has not looked yet
        QVERIFY(s.elements.empty());
        s.reader->detach();
        QVERIFY(!s.elements.empty());
        QCOMPARE(s.elements.front(), LogElement("one"));
        const std::size_t delivered = s.elements.size();
        s.pipe.writingEnd.close();
        s.reader->childHasEnded();  // no read is under way
        s.reader->handOver();
        QCOMPARE(s.elements.size(), delivered);
    }

    void whileTheMainThreadIsBusyTheChildIsNotHeldUpAndTheNewest1000Wait() {
        Subscription s;
        // Ten times as many reads as are kept, without the event loop turning once.
        for (int i = 0; i < 10'000; ++i) {
            s.write(std::to_string(i) + '\n');
            QVERIFY(s.waitUntilRead());
        }
        s.pipe.writingEnd.close();
        s.reader->childHasEnded();
        QVERIFY(s.waitFor(1000));
        QCOMPARE(s.elements.size(), 1000U);
        QCOMPARE(s.elements.back(), LogElement("9999\n"));
    }

    void aChunkAfterAQuietMomentIsOnTheMainThreadSoonAfterItsArrival() {
        Subscription s;
        std::vector<std::chrono::steady_clock::duration> delays;
        for (std::size_t i = 1; i <= 21; ++i) {
            QTest::qWait(20);  // the quiet moment
            const auto written = std::chrono::steady_clock::now();
            s.write("chunk\n");
            while (s.elements.size() < i)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            delays.push_back(std::chrono::steady_clock::now() - written);
        }
        // On a busy machine some of them wait for a processor.
        std::nth_element(delays.begin(), delays.begin() + 5, delays.end());
        const auto quartile = std::chrono::duration_cast<std::chrono::microseconds>(delays[5]);
        qInfo("lower quartile %lld us", static_cast<long long>(quartile.count()));
        if (!FERROLT_SANITIZED)
            QVERIFY(quartile < std::chrono::milliseconds(1));
    }
};

TEST_CLASS(OutputReaderTest, QCoreApplication)
#include "OutputReaderTest.moc"

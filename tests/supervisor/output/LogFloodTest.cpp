#include "AppVars.h"
#include "ChunkDecoder.h"
#include "Listener.h"
#include "NumberedStream.h"
#include "ProcessFacts.h"
#include "Supervision.h"
#include "TestProgram.h"
#include "Utf8.h"

#include <QTest>
#include <QThread>

#include <algorithm>
#include <fstream>
#include <string>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The rules of the log hold when children write as fast as they can.
class LogFloodTest : public QObject {
    Q_OBJECT

    // More than a log keeps, even if every element has the max size.
    static constexpr long long lines = 1'150'000;

    static std::string numbered(int seed) {
        return "numbered " + std::to_string(lines) + ' ' + std::to_string(seed);
    }

    /// Bytes at the end of a log that are compared with what the child wrote.
    static constexpr std::size_t maxCompared = 6'000'000;

    /// The log without the launcher's own messages.
    static std::string childsText(const LogBuffer &log) {
        std::string text;
        for (std::size_t i = 0; i < log.size(); ++i) {
            const LogElement &element = log.at(i);
            if (!element.startsWith("Lumora Core ") && !element.startsWith("Qor Client "))
                text.append(element.constData(), static_cast<std::size_t>(element.size()));
        }
        return text;
    }

    static void compareWithTheEndOfTheStream(const LogBuffer &log) {
        QCOMPARE(log.size(), 1000U);
        for (std::size_t i = 0; i < log.size(); ++i) {
            const auto bytes = static_cast<std::size_t>(log.at(i).size());
            QVERIFY(bytes <= ChunkDecoder::maxText);
            QCOMPARE(utf8::validPrefixLength({log.at(i).constData(), bytes}), bytes);
        }
        std::string kept = childsText(log);
        QVERIFY(kept.size() > 100'000);
        kept.erase(0, kept.size() - std::min(kept.size(), maxCompared));
        QVERIFY(kept == endOfNumberedLines(lines, kept.size()));  // not QCOMPARE: it would print all of it
    }

    static bool hasEnded(const LogBuffer &log) {
        return !log.isEmpty() && log.at(log.size() - 1).contains(" terminated with status ");
    }

    /// Megabytes.
    static double residentMemory() {
        std::ifstream file("/proc/self/statm");
        double all = 0;
        double resident = 0;
        file >> all >> resident;
        return resident * 4096 / 1e6;
    }

  private Q_SLOTS:
    void whatAFloodLeavesIsTheEndOfWhatTheChildWroteWholeAndInOrder() {
        Supervision s(numbered(1));
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return hasEnded(vars.lumoraLog()); }, 60s));
        compareWithTheEndOfTheStream(vars.lumoraLog());
    }

    void noneOfTheNewest1000IsLostThoughTheMainThreadStoodStillInTheFlood() {
        Supervision s(numbered(2));
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return vars.lumoraLog().size() == 1000; }, 60s));
        while (!hasEnded(vars.lumoraLog())) {
            QThread::msleep(120);  // as long as a flood takes to fill a log
            QCoreApplication::processEvents();
        }
        compareWithTheEndOfTheStream(vars.lumoraLog());
    }

    void twoFloodsFillTheirOwnLogsAndHinderNeither() {
        const Listener port;
        // The engine starts first and floods until it is stopped; the end of the client stops it.
        Supervision s("flood", numbered(3));
        s.tree.writeEnginePort(std::to_string(port.port));
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return vars.lumoraLog().size() == 1000; }, 60s));
        QVERIFY(waitUntil([&] { return hasEnded(vars.qorClientLog()); }, 60s));
        compareWithTheEndOfTheStream(vars.qorClientLog());
        QCOMPARE(vars.lumoraLog().size(), 1000U);
        for (std::size_t i = 0; i < vars.lumoraLog().size(); ++i)
            QVERIFY(!vars.lumoraLog().at(i).contains("\xF0\x9F\x98\x80"));
    }

    /// The benchmarks have the same for ten minutes.
    void aRoundOfFloodSilenceAndSingleCharactersLeavesNothingBehind() {
        const Listener port;
        Supervision s("moods 7", "moods 8");
        s.tree.writeEnginePort(std::to_string(port.port));
        AppVars &vars = s.start();
        QVERIFY(waitUntil(
            [&] {
                return vars._isQorClientRunning && vars.lumoraLog().byteCount() > 50'000'000 &&
                       vars.qorClientLog().byteCount() > 50'000'000;
            },
            60s));
        const int descriptors = openDescriptors();
        const int readers = threadsNamed("child-output");
        QCOMPARE(readers, 2);
        constexpr int rounds = 3;
        double max = 0;
        for (int round = 0; round < rounds; ++round) {
            QThread::msleep(700);  // a busy main thread: the output of the children must not pile up
            max = std::max(max, residentMemory());
            QTest::qWait(300);
            QCOMPARE(openDescriptors(), descriptors);
            QCOMPARE(threadsNamed("child-output"), readers);
            QVERIFY(vars.lumoraLog().size() <= 1000 && vars.qorClientLog().size() <= 1000);
        }
        QVERIFY(vars._isLumRunning && vars._isQorClientRunning);
        qInfo("at most %.0f MB resident", max);
        // Two full logs take 131 MB. The batches that replace them may take as much, and what arrives while
        // those are delivered as much again. Without a bound, 700 ms of a flood take about 1 GB.
        if (!FERROLT_SANITIZED)
            QVERIFY(max < 131 + 131 + 131 + 80);
    }
};

TEST_CLASS(LogFloodTest, QCoreApplication)
#include "LogFloodTest.moc"

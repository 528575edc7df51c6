#include "AppVars.h"
#include "Listener.h"
#include "NumberedStream.h"
#include "ProcessFacts.h"
#include "Supervision.h"
#include "Utf8.h"

#include <QTest>
#include <QThread>

#include <fstream>
#include <string>

using namespace ferrolt;
using namespace std::chrono_literals;

/// What the rules of the log promise holds when children write as fast as they can.
class LogFloodTest : public QObject {
    Q_OBJECT

    static constexpr long long lines = 2'000'000;  // some 130 MB: more than a log keeps
    static constexpr const char *linesAndSeed = "numbered 2000000 ";

    /// What a log holds between the launcher's own messages.
    static std::string childsText(const LogBuffer &log) {
        std::string text;
        for (std::size_t i = 0; i < log.size(); ++i) {
            const LogElement &element = log.at(i);
            if (!element.startsWith("Lumora Core ") && !element.startsWith("Qor Client "))
                text += element.toStdString();
        }
        return text;
    }

    static void compareWithTheEndOfTheStream(const LogBuffer &log) {
        QCOMPARE(log.size(), 1000U);
        for (std::size_t i = 0; i < log.size(); ++i) {
            const auto bytes = static_cast<std::size_t>(log.at(i).size());
            QVERIFY(bytes <= PipeReader::largestRead + 3);
            QCOMPARE(utf8::validPrefixLength({log.at(i).constData(), bytes}), bytes);
        }
        const std::string kept = childsText(log);
        QVERIFY(kept.size() > 100'000);
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
        Supervision s(linesAndSeed + std::string("1"));
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return hasEnded(vars.lumoraLog()); }, 60s));
        compareWithTheEndOfTheStream(vars.lumoraLog());
    }

    void noneOfTheNewest1000IsLostThoughTheMainThreadStoodStillInTheFlood() {
        Supervision s(linesAndSeed + std::string("2"));
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
        Supervision s(linesAndSeed + std::string("3"), "flood");
        s.tree.writeEnginePort(std::to_string(port.port));
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return hasEnded(vars.lumoraLog()); }, 60s));
        compareWithTheEndOfTheStream(vars.lumoraLog());
        for (std::size_t i = 1; i < vars.qorClientLog().size(); ++i)
            QVERIFY(!vars.qorClientLog().at(i).contains("\xF0\x9F\x98\x80"));
    }

    /// A short one of the rounds of bad weather; the benchmarks have one of ten minutes.
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
        double most[2] = {};  // in the first half and in the second
        for (int second = 0; second < 8; ++second) {
            QTest::qWait(1000);
            double &half = most[second / 4];
            half = std::max(half, residentMemory());
            QCOMPARE(openDescriptors(), descriptors);
            QCOMPARE(threadsNamed("child-output"), readers);
            QVERIFY(vars.lumoraLog().size() <= 1000 && vars.qorClientLog().size() <= 1000);
        }
        QVERIFY(vars._isLumRunning && vars._isQorClientRunning);
        qInfo("at most %.0f MB resident, then %.0f", most[0], most[1]);
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
        QVERIFY(most[1] < most[0] + 40);  // a flood without bound would take a gigabyte a second
#endif
    }
};

QTEST_GUILESS_MAIN(LogFloodTest)
#include "LogFloodTest.moc"

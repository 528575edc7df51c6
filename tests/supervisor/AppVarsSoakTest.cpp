#include "AppVars.h"
#include "LibreOfficeInstaller.h"
#include "Listener.h"
#include "ProcessFacts.h"
#include "Supervision.h"
#include "TestProgram.h"
#include "Updater.h"
#include "Waiting.h"
#include "walk/WalkDownloads.h"

#include <QTest>

#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include <malloc.h>
#include <unistd.h>

using namespace ferrolt;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

/// What a launcher that runs for months must not pile up.
struct Holdings {
    int descriptors = openDescriptors();
    int threads = threadsNamed("");
    long files = 0;  ///< in the home, temporary and program folders of the test
    double megabytes = 0;

    explicit Holdings(const fs::path &folder)
        : files(std::distance(fs::recursive_directory_iterator(folder), fs::recursive_directory_iterator())) {
        malloc_trim(0);  // what is free is not held
        std::ifstream file("/proc/self/statm");
        long all = 0;
        long resident = 0;
        file >> all >> resident;
        megabytes = static_cast<double>(resident * sysconf(_SC_PAGESIZE)) / 1e6;
    }
};

}  // namespace

/// Many hours of a launcher's life, on time that the test moves: a check each hour, now and then another
/// version to install and so a restarted engine, while both children fill their logs. FERROLT_SOAK_HOURS sets
/// how many.
class AppVarsSoakTest : public QObject {
    Q_OBJECT

    static constexpr int hoursBetweenVersions = 10;
    /// Before that the logs are not full and memory still grows.
    static constexpr int minHoursForMemory = 1000;
    /// The allocator's: each background thread may get another one of its arenas, and pages in use are
    /// scattered over them. A leak of 1 KiB in each check is above it after 4000 checks.
    static constexpr double toleratedMegabytes = 4;

  private Q_SLOTS:
    void hoursOfChecksAndInstallationsPileUpNothing() {
        bool isSet = false;
        const int asked = qEnvironmentVariableIntValue("FERROLT_SOAK_HOURS", &isSet);
        const int hours = isSet ? asked : 40;
        WalkDownloads downloads;
        const Listener port;
        const std::string chatter = "chatter 1000000000 100 500";
        Supervision s(chatter, chatter);
        s.tree.writeEnginePort(std::to_string(port.port));
        s.adjustSeams = [&](Seams &seams) {
            downloads.connectTo(seams);
            seams.settings = std::make_shared<SettingsStore>(s.tree.path() / "home/settings.json");
            seams.temporaryFolder = s.tree.path() / "home/tmp";
        };
        fs::create_directories(s.tree.path() / "home/tmp");
        AppVars &vars = s.start();
        vars.scheduleUpdateTimer();
        QVERIFY(waitUntil([&] { return vars._isQorClientRunning.get(); }));

        std::unique_ptr<Holdings> before;
        int restarts = 0;
        for (int hour = 0; hour < hours; ++hour) {
            const bool isNewVersion = hour % hoursBetweenVersions == 0;
            const auto &versions = WalkDownloads::versions;
            const auto index = static_cast<std::size_t>(hour / hoursBetweenVersions) % versions.size();
            downloads.publish({.isOne = true, .interval = 1, .version = QByteArray(versions.at(index))});
            const auto process = vars._lump.get();
            QCOMPARE(s.time->pending(), std::size_t(1));
            s.time->advance(1h);
            QVERIFY(waitWithEvents([&] { return s.time->pending() == 1; }));
            if (isNewVersion) {
                QVERIFY(waitWithEvents([&] { return vars._lump.get() && vars._lump.get() != process; }));
                ++restarts;
            } else {
                Supervision::letTheMainQueueTurn();
                QCOMPARE(vars._lump.get(), process);
            }
            QVERIFY(vars._isLumRunning && vars._isQorClientRunning && s.alerts->shown.empty());
            if (hour == hours / 4) {
                QVERIFY(waitForQuiet(downloads));
                before = std::make_unique<Holdings>(s.tree.path());
            }
        }
        QCOMPARE(downloads.promptsAnswered.load(), restarts);
        QVERIFY(before);
        QVERIFY(waitForQuiet(downloads));
        waitWithEvents([&] { return threadsNamed("") <= before->threads; });
        const Holdings after(s.tree.path());
        QCOMPARE(after.descriptors, before->descriptors);
        QCOMPARE(after.threads, before->threads);
        QCOMPARE(after.files, before->files);
        if (!FERROLT_SANITIZED && hours >= minHoursForMemory)
            QVERIFY2(
                after.megabytes <= before->megabytes + toleratedMegabytes,
                qPrintable(QStringLiteral("%1 MB, then %2").arg(before->megabytes).arg(after.megabytes)));
        std::printf(
            "%d simulated hours, %d checks, %d installations and restarts, %llu log elements: "
            "%d descriptors, %d threads, %ld files before and after, %.1f MB and %.1f MB.\n",
            hours, hours, restarts,
            static_cast<unsigned long long>(vars.lumoraLog().endSequence() +
                                            vars.qorClientLog().endSequence()),
            after.descriptors, after.threads, after.files, before->megabytes, after.megabytes);
    }

  private:
    /// As waitUntil(), which looks every 10 ms only.
    template <class Condition>
    static bool waitWithEvents(Condition condition) {
        return waitWithoutEvents(
            [&] {
                QCoreApplication::processEvents();
                return condition();
            },
            60s);
    }

    static bool waitForQuiet(const WalkDownloads &downloads) {
        return waitWithEvents([&] {
            return !LibreOfficeInstaller::isInstalling() && threadsNamed("background") == 0 &&
                   threadsNamed("utility") == 0 && threadsNamed("libreoffice") == 0 &&
                   downloads.openConnections() == 0;
        });
    }
};

TEST_CLASS(AppVarsSoakTest, QCoreApplication)
#include "AppVarsSoakTest.moc"

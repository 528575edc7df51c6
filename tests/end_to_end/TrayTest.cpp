#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "NotifierTray.h"
#include "ProcessFacts.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QTest>

#include <chrono>
#include <csignal>
#include <fstream>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

bool bothRun(const Launcher &launcher) {
    return launcher.child("Orbix") && launcher.child("qorclient");
}

bool isInView(const Launcher &launcher) {
    return launcher.visibleWindows().contains("Ferrolt Miner Launcher");
}

std::string nameOf(const std::filesystem::path &thread) {
    std::ifstream file(thread / "comm");
    std::string name;
    std::getline(file, name);
    return name;
}

/// The context switches of all its threads since they started.
long long switches(pid_t id) {
    const std::filesystem::path threads = "/proc/" + std::to_string(id) + "/task";
    long long sum = 0;
    for (const auto &thread : std::filesystem::directory_iterator(threads)) {
        // ThreadSanitizer's background thread has the program's name and wakes up ten times a second.
        if (FERROLT_SANITIZED && thread.path().filename() != std::to_string(id) &&
            nameOf(thread) == nameOf(threads / std::to_string(id)))
            continue;
        std::ifstream status(thread.path() / "status");
        for (std::string line; std::getline(status, line);)
            if (line.find("ctxt_switches:") != std::string::npos)
                sum += std::stoll(line.substr(line.find(':') + 1));
    }
    return sum;
}

}  // namespace

/// The built program's item in a desktop's tray.
class TrayTest : public QObject {
    Q_OBJECT

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<InstalledTree> tree;
    Listener enginePort;

  private Q_SLOTS:
    void init() {
        desktop = std::make_unique<VirtualDesktop>();
        QVERIFY2(desktop->failure().isEmpty(), qPrintable(desktop->failure()));
        tree = std::make_unique<InstalledTree>("wait", "wait");
        tree->writeEnginePort(std::to_string(enginePort.port));
    }

    void itsToolTipTellsHowBothServicesFareAndKeepsUpWithThem() {
        NotifierTray tray(desktop->busAddress());
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
        QVERIFY(!tray.pictures().isEmpty());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(waitUntil([&] {
            return tray.toolTip() == "Ferrolt Miner Launcher\nLumora Core, running\nQor Client, running";
        }));
        kill(launcher.child("qorclient")->id, SIGTERM);
        QVERIFY(waitUntil([&] {
            return tray.toolTip() == "Ferrolt Miner Launcher\nLumora Core, stopped\nQor Client, stopped";
        }));
        kill(launcher.id(), SIGTERM);
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
    }

    void itsIconBearsAnotherMarkAfterAChildsOwnEnd() {
        NotifierTray tray(desktop->busAddress());
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const QList<QByteArray> running = tray.pictures();
        QVERIFY(!running.isEmpty());
        kill(launcher.child("qorclient")->id, SIGTERM);
        QVERIFY(waitUntil([&] { return tray.pictures() != running; }));
        QCOMPARE(tray.pictures().size(), running.size());
    }

    void aClickOnItBringsTheWindowUp() {
        NotifierTray tray(desktop->busAddress());
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(!isInView(launcher));
        tray.activate();
        QVERIFY(waitUntil([&] { return isInView(launcher); }));
    }

    void itsMenuOpensTheWindowAndQuitsTheProgram() {
        NotifierTray tray(desktop->busAddress());
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QCOMPARE(tray.menuTexts(), (QStringList{"Lumora Core, running", "Qor Client, running", "", "Open",
                                                "Open at Login", "", "Quit"}));
        for (const NotifierTray::Entry &entry : tray.menu())
            QCOMPARE(entry.isEnabled, !entry.text.contains(", running"));
        tray.choose("Open");
        QVERIFY(waitUntil([&] { return isInView(launcher); }));
        const pid_t engine = launcher.child("Orbix")->id;
        const pid_t client = launcher.child("qorclient")->id;
        tray.choose("Quit");
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.program().exitCode(), 0);
        QVERIFY(waitUntil([&] { return !isAlive(engine) && !isAlive(client); }));
    }

    void aTrayThatComesLaterGetsTheItem() {
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const NotifierTray tray(desktop->busAddress());
        QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
    }

    void theItemWaitsForThePanelThatDrawsIt() {
        NotifierTray tray(desktop->busAddress(), NotifierTray::Host::Absent);
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(tray.registeredItems().isEmpty());
        tray.addHost();
        QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
    }

    void aTrayThatGoesAndComesBackGetsTheItemAgain() {
        auto first = std::make_unique<NotifierTray>(desktop->busAddress());
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return first->registeredItems().size() == 1; }));
        first.reset();
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitUntil([&] { return isInView(launcher); }));  // the program runs on without a tray
        const NotifierTray second(desktop->busAddress());
        QVERIFY(waitUntil([&] { return !second.registeredItems().isEmpty(); }));
        QVERIFY(second.toolTip().contains("Lumora Core, "));
    }

    void withItsWindowClosedItSleepsWithATrayOrWithoutOne_data() {
        QTest::addColumn<bool>("hasTray");
        QTest::newRow("with") << true;
        QTest::newRow("without") << false;
    }
    void withItsWindowClosedItSleepsWithATrayOrWithoutOne() {
        QFETCH(bool, hasTray);
        std::optional<NotifierTray> tray;
        if (hasTray)
            tray.emplace(desktop->busAddress());
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(!hasTray || waitUntil([&] { return tray->registeredItems().size() == 1; }));
        const auto sleepsFor = [&](std::chrono::milliseconds time) {
            const long long before = switches(launcher.id());
            QTest::qWait(static_cast<int>(time.count()));
            return switches(launcher.id()) == before;
        };
        // First all that the start has begun must end. Then the desktop may wake the program once; a timer
        // that fires at least every other period fails.
        QVERIFY(waitUntil([&] { return sleepsFor(2s); }, 60s));
        int quietPeriods = 0;
        for (int period = 0; period < 5; ++period)
            quietPeriods += sleepsFor(2s);
        QVERIFY2(quietPeriods >= 4, qPrintable(QString::number(quietPeriods)));
    }
};

TEST_CLASS(TrayTest, QCoreApplication)
#include "TrayTest.moc"

#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "NotifierTray.h"
#include "ProcessFacts.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QScopeGuard>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

using namespace ferrolt;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

const QString offer = QStringLiteral("Quit and start the new version");

/// The processes that run this file, or ran it when it was replaced.
std::vector<pid_t> processesOf(const fs::path &program) {
    std::vector<pid_t> found;
    for (const auto &process : fs::directory_iterator("/proc")) {
        std::error_code notAProcess;
        const std::string running = fs::read_symlink(process.path() / "exe", notAProcess);
        if (running == program || running == program.string() + " (deleted)")
            found.push_back(static_cast<pid_t>(std::stoi(process.path().filename())));
    }
    return found;
}

}  // namespace

/// The built program, whose file is replaced or removed while it runs.
class UpgradeTest : public QObject {
    Q_OBJECT

    VirtualDesktop desktop;
    std::unique_ptr<InstalledTree> tree;
    Listener enginePort;

    fs::path engine() const { return tree->resources() / "Tandril/LumoraCore/MediaEngine/Orbix"; }
    fs::path client() const { return tree->executable().parent_path() / "qorclient"; }

    static bool bothRun(const Launcher &launcher) {
        return launcher.child("Orbix") && launcher.child("qorclient");
    }

    /// As a package manager does it.
    void upgrade() const {
        const fs::path fresh = tree->executable().string() + ".new";
        fs::copy_file(FERROLT_LAUNCHER, fresh);
        fs::rename(fresh, tree->executable());
    }

    QString read(pid_t launcher, const QStringList &command) const {
        return desktop.run(FERROLT_SCREEN_READER, QStringList(QString::number(launcher)) + command);
    }
    bool asks(pid_t launcher) const { return read(launcher, {"list"}).contains("button\t" + offer + "\n"); }

    QStringList windowsOf(pid_t launcher) const {
        return desktop
            .run("xdotool", {"search", "--all", "--onlyvisible", "--pid", QString::number(launcher), "--name",
                             "Ferrolt Miner Launcher"})
            .split('\n', Qt::SkipEmptyParts);
    }

    /// The new version's process, once it alone runs with a pair of children. Fails if there were two pairs.
    pid_t awaitNewVersion(const Launcher &old, std::vector<pid_t> oldChildren) const {
        pid_t found = 0;
        bool wereTwo = false;
        const bool isAlone = waitUntil(
            [&] {
                const auto launchers = processesOf(tree->executable());
                const auto engines = processesOf(engine());
                const auto clients = processesOf(client());
                wereTwo = wereTwo || engines.size() > 1 || clients.size() > 1;
                found = launchers.size() == 1 ? launchers.front() : 0;
                return !old.isRunning() && found != 0 && engines.size() == 1 && clients.size() == 1 &&
                       engines.front() != oldChildren.at(0) && clients.front() != oldChildren.at(1);
            },
            60s);
        return isAlone && !wereTwo ? found : 0;
    }

    void end(pid_t launcher) const {
        if (launcher == 0)
            return;
        kill(launcher, SIGTERM);
        QVERIFY(waitUntil([&] { return !isAlive(launcher); }));
        QVERIFY(waitUntil([&] { return processesOf(engine()).empty() && processesOf(client()).empty(); }));
    }

  private Q_SLOTS:
    void initTestCase() { QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure())); }

    void init() {
        tree = std::make_unique<InstalledTree>("wait", "wait");
        tree->writeEnginePort(std::to_string(enginePort.port));
    }

    void cleanup() {
        if (QTest::currentTestFailed())
            desktop.takePicture(QString("%1/%2.png").arg(FERROLT_PICTURES, QTest::currentTestFunction()));
    }

    /// The old engine is slow to end, and a second one could not have its port.
    void theNextStartOffersTheNewVersionWhichRunsAndShowsItsWindow() {
        const std::string port = std::to_string(ClosedPort().port);
        tree->writeEnginePort(port);
        TestTree::installChild(engine(), "slow-port " + port + " 2000");
        Launcher launcher(desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t oldEngine = launcher.child("Orbix")->id;
        const pid_t oldClient = launcher.child("qorclient")->id;
        upgrade();
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitUntil([&] { return asks(launcher.id()); }));
        QCOMPARE(windowsOf(launcher.id()).size(), 2);  // the window and the question
        QCOMPARE(launcher.child("Orbix")->id, oldEngine);
        desktop.takePicture(FERROLT_PICTURES "/upgrade.png");
        read(launcher.id(), {"press", offer});
        const pid_t next = awaitNewVersion(launcher, {oldEngine, oldClient});
        const auto ended = qScopeGuard([&] { end(next); });
        QVERIFY(next != 0);
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.program().exitCode(), 0);
        QVERIFY(waitUntil([&] { return windowsOf(next).size() == 1; }));  // and no alert
        // It is the new version: its start is not followed by another offer.
        QCOMPARE(launcher.startAgain(), 0);
        QTest::qWait(500);
        QCOMPARE(windowsOf(next).size(), 1);
    }

    void laterLeavesBothProgramsRunningAndTheNextStartAsksAgain() {
        Launcher launcher(desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t oldEngine = launcher.child("Orbix")->id;
        upgrade();
        for (int start = 0; start < 2; ++start) {
            QCOMPARE(launcher.startAgain(), 0);
            QCOMPARE(launcher.startAgain(), 0);
            QVERIFY(waitUntil([&] { return asks(launcher.id()); }));
            QCOMPARE(windowsOf(launcher.id()).size(), 2);
            // The question has the keyboard.
            const bool isAnswered = waitUntil([&] {
                desktop.run("xdotool", {"key", "Escape"});
                return windowsOf(launcher.id()).size() == 1;
            });
            if (!isAnswered)
                desktop.takePicture(FERROLT_PICTURES "/upgrade-unanswered.png");
            QVERIFY(isAnswered);
        }
        QVERIFY(launcher.isRunning());
        QCOMPARE(launcher.child("Orbix")->id, oldEngine);
    }

    void theTraysMenuHasTheOfferOnlyAfterAnUpgrade() {
        NotifierTray tray(desktop.busAddress());
        Launcher launcher(desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t oldEngine = launcher.child("Orbix")->id;
        const pid_t oldClient = launcher.child("qorclient")->id;
        QVERIFY(!tray.menuTexts().contains(offer));
        upgrade();
        QVERIFY(waitUntil([&] { return tray.menuTexts().contains(offer); }));
        tray.choose(offer);
        const pid_t next = awaitNewVersion(launcher, {oldEngine, oldClient});
        const auto ended = qScopeGuard([&] { end(next); });
        QVERIFY(next != 0);
        QVERIFY(waitUntil([&] { return windowsOf(next).size() == 1; }));
    }

    void removedUnderTheRunningProgramItRunsOnAndOffersNothing() {
        Launcher launcher(desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        const pid_t oldEngine = launcher.child("Orbix")->id;
        fs::remove(tree->executable());
        // A copy elsewhere, for the same home, hands over to it.
        QProcess copy;
        copy.setProcessEnvironment(desktop.environment(tree->home().c_str()));
        copy.start(FERROLT_LAUNCHER, {});
        QVERIFY(copy.waitForFinished());
        QCOMPARE(copy.exitCode(), 0);
        QVERIFY(waitUntil([&] { return windowsOf(launcher.id()).size() == 1; }));
        QTest::qWait(500);
        QCOMPARE(windowsOf(launcher.id()).size(), 1);
        QCOMPARE(launcher.child("Orbix")->id, oldEngine);
        kill(launcher.id(), SIGTERM);
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitCode(), 0);
        QVERIFY(waitUntil([&] { return !isAlive(oldEngine); }));
    }
};

TEST_CLASS(UpgradeTest, QCoreApplication)
#include "UpgradeTest.moc"

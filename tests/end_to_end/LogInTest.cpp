#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "NotificationDesk.h"
#include "NotifierTray.h"
#include "SessionManager.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QProcess>
#include <QTest>

#include <chrono>
#include <csignal>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program and its log-in item: the switch, and what a session makes of the entry that it writes.
class LogInTest : public QObject {
    Q_OBJECT

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<InstalledTree> tree;
    Listener enginePort;

    static bool bothRun(const Launcher &launcher) {
        return launcher.child("Orbix") && launcher.child("qorclient");
    }
    bool isInView(const Launcher &launcher) const {
        return launcher.visibleWindows().contains("Ferrolt Miner Launcher");
    }
    std::filesystem::path entry() const {
        return tree->home() / ".config/autostart/ferrolt-miner-launcher.desktop";
    }
    bool isOn() const { return std::filesystem::exists(entry()); }

    /// What a session would start for the entry; empty if nothing.
    QStringList commandAtLogIn() const {
        QProcess reader;
        reader.start(FERROLT_AUTOSTART_COMMAND, {QString(entry().c_str())});
        reader.waitForFinished();
        return QString::fromUtf8(reader.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    }

    bool screenReader(const Launcher &launcher, const QStringList &command) const {
        int exitCode = -1;
        desktop->run(FERROLT_SCREEN_READER, QStringList(QString::number(launcher.id())) + command, &exitCode);
        return exitCode == 0;
    }
    void press(const QStringList &keys) const {
        for (const QString &key : keys)
            desktop->run("xdotool", {"key", key});
    }
    bool openWindow(const Launcher &launcher) const {
        return launcher.startAgain() == 0 && waitUntil([&] {
                   return isInView(launcher) &&
                          desktop->run("xdotool", {"getactivewindow", "getwindowname"}).trimmed() ==
                              "Ferrolt Miner Launcher";
               });
    }

  private Q_SLOTS:
    void init() {
        desktop = std::make_unique<VirtualDesktop>();
        QVERIFY2(desktop->failure().isEmpty(), qPrintable(desktop->failure()));
        tree = std::make_unique<InstalledTree>("wait", "wait");
        tree->writeEnginePort(std::to_string(enginePort.port));
    }

    void whatTheTraysSwitchWritesStartsItAtLogInWithItsWindowClosed() {
        {
            NotifierTray tray(desktop->busAddress());
            Launcher launcher(*desktop, tree->executable(), tree->home());
            QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
            QVERIFY(!isOn());
            tray.choose("Open at Login");
            QVERIFY(waitUntil([&] { return isOn(); }));
            QCOMPARE(tray.menu().value(4).text, QString("Open at Login"));
            QVERIFY(tray.menu().value(4).isChecked);
            QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        }
        const QStringList command = commandAtLogIn();
        QCOMPARE(command, QStringList{tree->executable().c_str()});

        SessionManager manager;
        desktop->setVariable("SESSION_MANAGER", manager.address());
        Launcher launcher(*desktop, command.first().toStdString(), tree->home());
        QVERIFY(manager.says("joined"));
        QVERIFY(manager.says("saved"));
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        // A session manager restores all programs but those that ask it never to.
        if (!manager.said().contains("property RestartStyleHint 3"))
            QCOMPARE(launcher.startAgain(), 0);
        const NotifierTray late(desktop->busAddress());
        QVERIFY(waitUntil([&] { return late.registeredItems().size() == 1; }));
        QVERIFY(launcher.visibleWindows().isEmpty());
        QVERIFY(openWindow(launcher));
    }

    void withoutAnIdentityTheLogInOpensTheForm() {
        {
            NotifierTray tray(desktop->busAddress());
            Launcher launcher(*desktop, tree->executable(), tree->home());
            QVERIFY(waitUntil([&] { return tray.registeredItems().size() == 1; }));
            tray.choose("Open at Login");
            QVERIFY(waitUntil([&] { return isOn(); }));
        }
        tree->writeIdentity("");
        Launcher launcher(*desktop, commandAtLogIn().value(0).toStdString(), tree->home());
        QVERIFY(waitUntil([&] { return isInView(launcher); }));
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 2; }));  // the alert, too
    }

    void theSwitchIsReachedByKeys() {
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(openWindow(launcher));
        press({"F10", "g"});
        QVERIFY(waitUntil([&] { return isOn(); }));
        press({"F10", "g"});
        QVERIFY(waitUntil([&] { return !isOn(); }));
    }

    void whatCannotBeWrittenIsToldInAnAlert() {
        std::filesystem::create_directories(tree->home() / ".config");
        std::filesystem::create_symlink("/nowhere", tree->home() / ".config/autostart");
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(openWindow(launcher));
        press({"F10", "g"});
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 2; }));
        desktop->takePicture(FERROLT_PICTURES "/log-in-item-failed.png");
        QVERIFY(screenReader(launcher, {"press", "OK"}));
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 1; }));
        QVERIFY(!isOn());
    }

    void theFirstSavedIdentityOffersTheSwitchAndTheClosedWindowIsExplained() {
        NotificationDesk desk(desktop->busAddress());
        QVERIFY(desk.isUp);
        tree->writeIdentity("");
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().size() == 2; }));
        QVERIFY(screenReader(launcher, {"press", "OK"}));
        QVERIFY(screenReader(launcher, {"fill", "User / Company Name", "Ada Lovelace"}));
        QVERIFY(screenReader(launcher, {"press", "Save & Apply Configuration"}));
        QVERIFY(waitUntil([&] { return desk.shown.size() == 1; }));
        QCOMPARE(desk.shown[0].actions.value(1), QString("Open at Login"));
        QVERIFY(!isOn());
        desk.press(1);
        QVERIFY(waitUntil([&] { return isOn(); }));

        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(screenReader(launcher, {"press", "Home"}));
        QVERIFY(openWindow(launcher));
        for (int time = 0; time < 2; ++time) {
            press({"ctrl+w"});
            QVERIFY(waitUntil([&] { return !isInView(launcher); }));
            QVERIFY(openWindow(launcher));
        }
        QVERIFY(waitUntil([&] { return desk.shown.size() == 2; }));
        QVERIFY2(desk.shown[1].body.contains("run on"), qPrintable(desk.shown[1].body));
    }

    void neitherTheCloseAtLaunchNorAQuitIsExplained() {
        NotificationDesk desk(desktop->busAddress());
        Launcher launcher(*desktop, tree->executable(), tree->home());
        QVERIFY(waitUntil([&] { return bothRun(launcher); }, 60s));
        QVERIFY(openWindow(launcher));
        kill(launcher.id(), SIGTERM);
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(desk.shown.size(), 0);
    }
};

TEST_CLASS(LogInTest, QCoreApplication)
#include "LogInTest.moc"

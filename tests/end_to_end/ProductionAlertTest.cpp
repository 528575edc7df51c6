#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QTest>

#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The alerts as the built program shows them, in windows of their own, read and worked as a screen reader
/// does.
class ProductionAlertTest : public QObject {
    Q_OBJECT

    VirtualDesktop desktop;

    QString read(const Launcher &launcher, const QStringList &command) const {
        return desktop.run(FERROLT_SCREEN_READER, QStringList(QString::number(launcher.id())) + command);
    }
    /// All accessible objects on screen: role, tab, name.
    QString onScreen(const Launcher &launcher) const { return read(launcher, {"list"}); }
    bool waitForText(const Launcher &launcher, const QString &text, QString &found) const {
        return waitUntil(
            [&] {
                found = onScreen(launcher);
                return found.contains("\t" + text + "\n");
            },
            60s);
    }

  private Q_SLOTS:
    void initTestCase() { QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure())); }

    void cleanup() {
        if (QTest::currentTestFailed())
            desktop.takePicture(QString("%1/%2.png").arg(FERROLT_PICTURES, QTest::currentTestFunction()));
    }

    void theFatalAlertNamesTheMissingEngineAndItsExitEndsTheProgram() {
        InstalledTree tree("wait", "wait");
        std::filesystem::remove(tree.resources() / "Tandril/LumoraCore/MediaEngine/Orbix");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QString found;
        QVERIFY2(waitForText(launcher, "Ferrolt Miner Launcher Error", found), qPrintable(found));
        const std::string missing = tree.resources() / "Tandril/LumoraCore/Bin/MediaEngine/Orbix";
        QVERIFY2(found.contains("\tOrbix binary not found at " + QString::fromStdString(missing) + "\n"),
                 qPrintable(found));
        QCOMPARE(found.count("button\t"), 1);
        QVERIFY2(found.contains("button\tExit\n"), qPrintable(found));
        QCOMPARE(launcher.visibleWindows().size(), 1);
        QVERIFY(launcher.isRunning());
        read(launcher, {"press", "Exit"});
        QVERIFY(waitUntil([&] { return !launcher.isRunning(); }));
        QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.program().exitCode(), 0);
    }

    void theWarningNamesTheChildThatEndedAndItsButtonLeavesTheProgramRunning() {
        const Listener port;
        InstalledTree tree("delay-exit 2000 3", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        Launcher launcher(desktop, tree.executable(), tree.home());
        QString found;
        QVERIFY2(waitForText(launcher, "Ferrolt Miner Launcher Stopped", found), qPrintable(found));
        QVERIFY2(found.contains(
                     "\tLumora Core stopped (exit status 3).\n\n"
                     "The Ferrolt Miner Launcher is stopped. You must restart the launcher app manually if "
                     "you wish to retry running the two processes.\n"),
                 qPrintable(found));
        QCOMPARE(found.count("button\t"), 1);
        QVERIFY2(found.contains("button\tOK\n"), qPrintable(found));
        read(launcher, {"press", "OK"});
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().isEmpty(); }));
        QVERIFY(waitUntil([&] { return !launcher.child("qorclient"); }));
        // The program still responds, and the window shows the logs.
        QCOMPARE(launcher.startAgain(), 0);
        QVERIFY(waitUntil([&] { return launcher.visibleWindows().contains("Ferrolt Miner Launcher"); }));
        QVERIFY(!launcher.child("Orbix"));
    }
};

TEST_CLASS(ProductionAlertTest, QCoreApplication)
#include "ProductionAlertTest.moc"

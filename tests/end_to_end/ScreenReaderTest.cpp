#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QFile>
#include <QTest>

#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

/// The built program, used through the accessibility interfaces only.
class ScreenReaderTest : public QObject {
    Q_OBJECT

    VirtualDesktop desktop;
    Listener enginePort;

    QString read(const Launcher &launcher, const QStringList &command, int *exitCode = nullptr) const {
        return desktop.run(FERROLT_SCREEN_READER, QStringList(QString::number(launcher.id())) + command,
                           exitCode);
    }
    bool does(const Launcher &launcher, const QStringList &command) const {
        int exitCode = -1;
        read(launcher, command, &exitCode);
        return exitCode == 0;
    }
    /// How many accessible objects with this name are on screen.
    qsizetype count(const Launcher &launcher, const QString &name) const {
        qsizetype found = 0;
        for (const QString &line : read(launcher, {"list"}).split('\n'))
            found += line.section('\t', 1) == name ? 1 : 0;
        return found;
    }
    bool waitFor(const Launcher &launcher, const QString &name, qsizetype times = 1) const {
        const bool found = waitUntil([&] { return count(launcher, name) == times; });
        if (!found)
            qWarning().noquote() << (launcher.isRunning() ? "It runs; what is on screen:\n"
                                                          : "It has ended:\n") +
                                        read(launcher, {"list"});
        return found;
    }

  private Q_SLOTS:
    void initTestCase() { QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure())); }

    void itReadsTheAlertFillsTheFormPressesTheButtonAndReadsBothLogs() {
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(enginePort.port));
        tree.writeIdentity("");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitFor(launcher, "Ferrolt Miner Missing Info"));
        QVERIFY(does(launcher, {"press", "OK"}));
        QVERIFY(waitFor(launcher, "Ferrolt Miner Missing Info", 0));
        QVERIFY(waitFor(launcher, "Note: Missing required E-Mail and User/Company credentials."));
        QVERIFY(waitFor(launcher, "Lumora Core, running"));
        QVERIFY(waitFor(launcher, "Qor Client, stopped"));
        QVERIFY(!launcher.child("qorclient"));

        QVERIFY(does(launcher, {"fill", "E-Mail Address", "grace@example.org"}));
        QVERIFY(does(launcher, {"fill", "User / Company Name", QString::fromUtf8("Grace Höpper")}));
        QVERIFY(does(launcher, {"fill", "Machine Display Name (Optional)", "Attic & Cellar"}));
        QCOMPARE(read(launcher, {"text", "User / Company Name"}).trimmed(),
                 QString::fromUtf8("Grace Höpper"));
        QVERIFY(waitFor(launcher, "Note: Missing required E-Mail and User/Company credentials.", 0));
        QVERIFY(does(launcher, {"press", "Save & Apply Configuration"}));
        QVERIFY(waitFor(launcher, "Settings applied successfully!"));

        QFile file(QString(tree.home().c_str()) + "/.qor/" FERROLT_NODE_SERVER_HOST
                                                  "/MinerClient.properties");
        QVERIFY(file.open(QFile::ReadOnly));
        const QString written = QString::fromUtf8(file.readAll());
        for (const char *value : {"grace@example.org", "Grace Höpper", "Attic & Cellar"})
            QVERIFY2(written.contains(QString::fromUtf8(value)), qPrintable(written));
        QVERIFY(waitUntil([&] { return launcher.child("qorclient").has_value(); }, 60s));
        QVERIFY(waitFor(launcher, "Qor Client, running"));
        QVERIFY(waitFor(launcher, "Settings applied successfully!", 0));

        QVERIFY(does(launcher, {"press", "Home"}));
        QVERIFY(waitFor(launcher, "Running", 2));  // the badges
        QCOMPARE(count(launcher, "Stopped"), 0);
        QVERIFY(read(launcher, {"text", "Lumora Core Engine"}).startsWith("Lumora Core started.\n"));
        QVERIFY(read(launcher, {"text", "Qor Client"}).contains("Qor Client started.\n"));
        QCOMPARE(count(launcher, "Copy this log to the clipboard"), 2);
    }
};

TEST_CLASS(ScreenReaderTest, QCoreApplication)
#include "ScreenReaderTest.moc"

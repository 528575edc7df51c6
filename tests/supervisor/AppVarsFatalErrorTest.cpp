#include "AppVars.h"
#include "Listener.h"
#include "ProcessFacts.h"
#include "Supervision.h"
#include "TestProgram.h"

#include <QTest>

#include <filesystem>
#include <fstream>

#include <sys/resource.h>

using namespace ferrolt;
namespace fs = std::filesystem;

/// Failed starts: one alert each, and no child is left running.
class AppVarsFatalErrorTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void anEngineThatCannotStartEndsInTheFatalAlert_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing") << "missing"
                                 << "Orbix binary not found at %1";
        QTest::newRow("not executable") << "plain"
                                        << "Failed to start Lumora Core: Permission denied";
        QTest::newRow("a folder") << "folder"
                                  << "Failed to start Lumora Core: Permission denied";
        QTest::newRow("a script without interpreter")
            << "script"
            << "Failed to start Lumora Core: No such file or directory";
        QTest::newRow("a binary of another machine") << "foreign"
                                                     << "Failed to start Lumora Core: Exec format error";
    }
    void anEngineThatCannotStartEndsInTheFatalAlert() {
        QFETCH(QString, kind);
        QFETCH(QString, message);
        Supervision s;
        const fs::path engine = s.tree.engine();
        if (kind == "plain") {
            fs::permissions(engine, fs::perms::owner_read);
        } else {
            fs::remove(engine);
            if (kind == "folder")
                fs::create_directory(engine);
            if (kind == "script" || kind == "foreign") {
                TestTree::write(engine, kind == "script" ? "#!/no/such/interpreter\n" : foreignBinary());
                fs::permissions(engine, fs::perms::owner_all);
            }
        }
        // The message names the fallback folder, which is not tested for existence.
        const fs::path named = s.tree.path() / "dev/Tandril/LumoraCore/Bin/MediaEngine/Orbix";
        AppVars &vars = s.start();
        QVERIFY(s.alerts->shown.empty());  // it is queued behind the current work
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        const Alert alert = s.alerts->shown.front();
        QCOMPARE(alert.style, AlertStyle::Critical);
        QCOMPARE(alert.messageText, QStringLiteral("Ferrolt Miner Launcher Error"));
        QCOMPARE(alert.informativeText, message.contains("%1") ? message.arg(named.c_str()) : message);
        QCOMPARE(alert.button, QStringLiteral("Exit"));
        QVERIFY(!vars._isLumRunning);
        QVERIFY(!vars._isQorClientRunning);
        QVERIFY(vars.lumoraLog().isEmpty());
        QCOMPARE(s.terminations, 0);
        s.alerts->dismiss(0);
        QCOMPARE(s.terminations, 1);
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void aClientThatIsMissingEndsInTheFatalAlertAndTheEngineIsNotLeftRunning() {
        Supervision s;
        fs::remove(s.tree.client());
        AppVars &vars = s.create();
        vars.startServices();
        QVERIFY(!vars._isLumRunning);
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        QCOMPARE(s.alerts->shown.front().informativeText,
                 QStringLiteral("Qor Client executable not found at ") + s.tree.client().c_str());
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 15\n"));
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void aClientThatCannotStartEndsInTheFatalAlertAndTheEngineIsNotLeftRunning() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        fs::permissions(s.tree.client(), fs::perms::owner_read);
        AppVars &vars = s.start();
        const int engine = vars._lump.get()->processIdentifier();
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        QCOMPARE(s.alerts->shown.front().informativeText,
                 QStringLiteral("Failed to start Qor Client: Permission denied"));
        QVERIFY(waitUntil([&] { return !isAlive(engine); }));
        QVERIFY(!vars._isLumRunning);
        QVERIFY(!vars._isQorClientRunning);
        QCOMPARE(s.clientLog().find("Qor Client started."), std::string::npos);
    }

    void aWorkingFolderThatIsMissingIsNamedByTheFatalAlertAndNotTheProgram() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        // A client beside the launcher's executable, and none of the folders that it may run in.
        fs::rename(s.tree.client(), s.tree.path() / "bin/qorclient");
        fs::remove_all(s.tree.client().parent_path());
        AppVars &vars = s.start();
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        QCOMPARE(
            s.alerts->shown.front().informativeText,
            QStringLiteral("Failed to start Qor Client: The working folder \"%1\" cannot be entered: No such "
                           "file or directory")
                .arg((s.tree.path() / "dev/Client").c_str()));
        QVERIFY(s.waitForEngineLog("Lumora Core terminated with status 15\n"));
        QVERIFY(!vars._isQorClientRunning);
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void anEngineThatCannotStartIsWaitedForByNobody_data() {
        QTest::addColumn<bool>("isThere");
        QTest::newRow("missing") << false;
        QTest::newRow("not executable") << true;
    }
    void anEngineThatCannotStartIsWaitedForByNobody() {
        QFETCH(bool, isThere);
        const Listener port;  // a port wait would end at once and start the client
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        if (isThere)
            fs::permissions(s.tree.engine(), fs::perms::owner_read);
        else
            fs::remove(s.tree.engine());
        AppVars &vars = s.start();
        s.letTheBackgroundEnd();
        QCOMPARE(s.alerts->shown.size(), 1U);
        QVERIFY(vars.qorClientLog().isEmpty());
        QVERIFY(!vars._isQorClientRunning);
    }

    void anEngineThatCannotComeBackEndsInTheFatalAlertAndTheClientIsNotLeftRunning() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        AppVars &vars = s.start();
        QVERIFY(s.waitForEngineLog("ready"));
        QVERIFY(s.waitForClientLog("ready"));
        const int client = vars._qorcp.get()->processIdentifier();
        fs::remove(s.tree.engine());
        vars.reloadEngine();
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        QCOMPARE(s.alerts->shown.front().style, AlertStyle::Critical);
        QCOMPARE(s.alerts->shown.front().informativeText,
                 QStringLiteral("Orbix binary not found at ") +
                     (s.tree.path() / "dev/Tandril/LumoraCore/Bin/MediaEngine/Orbix").c_str());
        QVERIFY(s.waitForClientLog("Qor Client terminated with status 15\n"));
        QVERIFY(!isAlive(client));
        QVERIFY(!vars._isLumRunning);
        QVERIFY(!vars._isQorClientRunning);
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void withNeitherOfThemThereOneAlertTellsOfTheEngine() {
        Supervision s;
        fs::permissions(s.tree.engine(), fs::perms::owner_read);
        fs::remove(s.tree.client());
        s.start();
        s.letTheBackgroundEnd();
        QCOMPARE(s.alerts->shown.size(), 1U);
        QVERIFY(s.alerts->shown.front().informativeText.startsWith("Failed to start Lumora Core: "));
    }

    void afterAFatalErrorNothingIsStartedAgain() {
        Supervision s;
        fs::remove(s.tree.client());
        AppVars &vars = s.start();
        vars.startServices();  // a second press that was queued before the alert came up
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        vars.startServices();
        s.letTheBackgroundEnd();
        QVERIFY(!vars._isLumRunning);
        QCOMPARE(s.alerts->shown.size(), 1U);
    }

    void withoutADescriptorToSpareTheStartEndsInTheFatalAlert() {
        Supervision s;
        s.create();
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit none = before;
        none.rlim_cur = 4;
        setrlimit(RLIMIT_NOFILE, &none);
        s.vars->startServices();
        setrlimit(RLIMIT_NOFILE, &before);
        QVERIFY(waitUntil([&] { return !s.alerts->shown.empty(); }));
        QVERIFY(s.alerts->shown.front().informativeText.startsWith("Failed to start Lumora Core: "));
    }

  private:
    static std::string foreignBinary() {
        std::ifstream file(FERROLT_PRACTICE_CHILD, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(file)), {});
        bytes[18] = '\x16';  // the machine in the ELF header
        bytes[19] = '\0';
        return bytes;
    }
};

TEST_CLASS(AppVarsFatalErrorTest, QCoreApplication)
#include "AppVarsFatalErrorTest.moc"

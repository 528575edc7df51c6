#include "AppVars.h"
#include "Listener.h"
#include "RecordingAlerts.h"
#include "Supervision.h"
#include "TestProgram.h"
#include "TestTree.h"
#include "Updater.h"

#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <tuple>

using namespace ferrolt;

namespace {

std::shared_ptr<AppVars> newAppVars(const TestTree &tree) {
    Seams seams(std::make_shared<RecordingAlerts>());
    seams.paths = tree.roots();
    return std::make_shared<AppVars>(std::move(seams));
}

}  // namespace

class AppVarsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void everythingBeginsEmptyAndIdle() {
        const TestTree tree;
        const auto vars = newAppVars(tree);
        QVERIFY(vars->updater != nullptr);
        QVERIFY(vars->libreOfficeInstaller != nullptr);
        QVERIFY(vars->lumoraLog().isEmpty());
        QVERIFY(vars->qorClientLog().isEmpty());
        QVERIFY(vars->_lump.get() == nullptr);
        QVERIFY(vars->_qorcp.get() == nullptr);
        QVERIFY(!vars->_isLumRunning);
        QVERIFY(!vars->_isQorClientRunning);
        QVERIFY(!vars->_isPermanentlyStopped);
        QCOMPARE(AppVars::maxLogLines, 1000);
    }

    void the1001stElementDropsTheOldestAndAfter5000TheLast1000AreLeftOldestFirst() {
        const TestTree tree;
        const auto vars = newAppVars(tree);
        for (int i = 1; i <= 1001; ++i)
            vars->appendLog(QByteArray::number(i), LogTarget::Lumora);
        QCOMPARE(vars->lumoraLog().size(), 1000U);
        QCOMPARE(vars->lumoraLog().at(0), "2");
        for (int i = 1002; i <= 5000; ++i)
            vars->appendLog(QByteArray::number(i), LogTarget::Lumora);
        QCOMPARE(vars->lumoraLog().size(), 1000U);
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(vars->lumoraLog().at(static_cast<std::size_t>(i)), QByteArray::number(4001 + i));
        QCOMPARE(vars->lumoraLog().firstSequence(), 4000U);
        QVERIFY(vars->qorClientLog().isEmpty());
    }

    void elementsThatArriveTogetherKeepTheSameRule() {
        const TestTree tree;
        const auto vars = newAppVars(tree);
        std::vector<LogElement> burst;
        for (int i = 1; i <= 2500; ++i)
            burst.push_back(QByteArray::number(i));
        QSignalSpy changes(vars.get(), &AppVars::objectWillChange);
        vars->appendLog(std::move(burst), LogTarget::QorClient);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(vars->qorClientLog().size(), 1000U);
        QCOMPARE(vars->qorClientLog().at(0), "1501");
        QCOMPARE(vars->qorClientLog().at(999), "2500");
        QCOMPARE(vars->qorClientLog().byteCount(), 4000U);
    }

    void aChunkOfTwoLinesIsOneElementAndAnEmptyChunkIsNone() {
        const TestTree tree;
        const auto vars = newAppVars(tree);
        vars->appendLog("a\nb", LogTarget::Lumora);
        vars->appendLog("", LogTarget::Lumora);
        QCOMPARE(vars->lumoraLog().size(), 1U);
        QCOMPARE(vars->lumoraLog().at(0), "a\nb");
    }

    void aLineOfTheLaunchersOwnNeverOvertakesOutputThatArrivedBeforeIt() {
        Supervision s("line-exit 0 output");
        AppVars &vars = s.start();
        vars._lump.get()->waitUntilExit();  // all output has been read, but the event loop has not turned
        vars.reloadEngine();
        QCOMPARE(s.engineLog(),
                 "Lumora Core started.\n"
                 "output\n"
                 "LibreOffice installed; restarting Lumora Core so its workers pick up "
                 "office-document support.\n");
    }

    void aStopDeliversTheOutputThatArrivedBeforeIt() {
        Supervision s("line-exit 0 output");
        AppVars &vars = s.start();
        vars._lump.get()->waitUntilExit();
        vars.stopAll();
        QCOMPARE(s.engineLog(), "Lumora Core started.\noutput\n");
        QVERIFY(s.waitForEngineLog("terminated"));
        QCOMPARE(s.engineLog(), "Lumora Core started.\noutput\nLumora Core terminated with status 0\n");
    }

    void theInitialTabIsSettingsWithTheEntityNameMissingOrBlank_data() {
        QTest::addColumn<QString>("email");
        QTest::addColumn<QString>("entity");
        QTest::addColumn<QString>("tab");
        QTest::newRow("complete") << "ada@example.org"
                                  << "Ada Lovelace"
                                  << "home";
        QTest::newRow("single word") << "ada@example.org"
                                     << "Ada"
                                     << "home";
        QTest::newRow("no entity") << "ada@example.org"
                                   << ""
                                   << "settings";
        QTest::newRow("only spaces") << "ada@example.org"
                                     << "   "
                                     << "settings";
        QTest::newRow("only tabs") << "ada@example.org"
                                   << "\t \t"
                                   << "settings";
        QTest::newRow("no e-mail") << ""
                                   << "Ada Lovelace"
                                   << "settings";
    }
    void theInitialTabIsSettingsWithTheEntityNameMissingOrBlank() {
        QFETCH(QString, email);
        QFETCH(QString, entity);
        QFETCH(QString, tab);
        const TestTree tree;
        tree.writeIdentity(email.toStdString(), entity.toStdString());
        QCOMPARE(newAppVars(tree)->_selectedTab.get(), std::optional(tab));
    }

    void theInitialTabIsSettingsWithoutAnyConfiguration() {
        const TestTree tree;
        QCOMPARE(newAppVars(tree)->_selectedTab.get(), std::optional(QStringLiteral("settings")));
    }

    void whatAKilledLauncherLeftOfASaveGoesAtTheNextStart() {
        const TestTree tree;
        const auto ofIdentity = tree.clientConfiguration().parent_path() / ".ferrolt-save-1";
        const auto ofSettings = tree.path() / "home/.config/.ferrolt-save-2";
        TestTree::write(ofIdentity, "half");
        TestTree::write(ofSettings, "half");
        Seams seams(std::make_shared<RecordingAlerts>());
        seams.paths = tree.roots();
        seams.settings = std::make_shared<SettingsStore>(tree.path() / "home/.config/settings.json");
        const auto vars = std::make_shared<AppVars>(std::move(seams));
        QVERIFY(!std::filesystem::exists(ofIdentity));
        QVERIFY(!std::filesystem::exists(ofSettings));
    }

    void everyChangeIsAnnouncedBeforeItHappens() {
        const TestTree tree;
        const auto vars = newAppVars(tree);
        QList<std::size_t> sizes;
        QStringList tabs;
        connect(vars.get(), &AppVars::objectWillChange, vars.get(), [&] {
            sizes << vars->lumoraLog().size();
            tabs << vars->_selectedTab.get().value();
        });
        vars->appendLog("x", LogTarget::Lumora);
        vars->selectTab(AppVars::homeTab);
        QCOMPARE(sizes, (QList<std::size_t>{0, 1}));
        QCOMPARE(tabs, (QStringList{"settings", "settings"}));
        QCOMPARE(vars->_selectedTab.get(), std::optional(QStringLiteral("home")));
    }

    void anAnnouncementSaysWhatIsToChange() {
        const TestTree tree;
        const auto vars = newAppVars(tree);
        QList<AppVars::Change> changes;
        connect(vars.get(), &AppVars::objectWillChange, vars.get(),
                [&](AppVars::Change change) { changes << change; });
        vars->appendLog("x", LogTarget::QorClient);
        vars->selectTab(AppVars::homeTab);
        vars->appendLog("y", LogTarget::Lumora);
        using Change = AppVars::Change;
        QCOMPARE(changes, (QList<Change>{Change::QorClientLog, Change::State, Change::LumoraLog}));
    }

    void whateverAViewShowsIsAnnouncedBeforeItChanges() {
        const Listener port;
        Supervision s;
        s.tree.writeEnginePort(std::to_string(port.port));
        AppVars &vars = s.create();
        const auto state = [&vars] {
            return std::tuple(vars._isLumRunning.get(), vars._isQorClientRunning.get(),
                              vars._isPermanentlyStopped.get(), vars._lump.get(), vars._qorcp.get(),
                              vars._selectedTab.get(), vars.lumoraLog().joined(),
                              vars.qorClientLog().joined());
        };
        auto last = state();
        bool isAnnounced = false;
        int unannounced = 0;
        int changes = 0;
        // Whenever the state differs from the last look, an announcement came in between.
        const auto look = [&] {
            const auto now = state();
            if (now != last) {
                ++changes;
                unannounced += isAnnounced ? 0 : 1;
                isAnnounced = false;
                last = now;
            }
        };
        QObject watching;  // ends the connection before the objects that it uses
        connect(&vars, &AppVars::objectWillChange, &watching, [&] {
            look();
            isAnnounced = true;
        });
        vars.startServices();
        look();
        QVERIFY(waitUntil([&] {
            look();
            return vars._isQorClientRunning.get() && s.clientLog().find("ready") != std::string::npos;
        }));
        kill(vars._qorcp.get()->processIdentifier(), SIGKILL);
        QVERIFY(waitUntil([&] {
            look();
            return s.engineLog().find("terminated") != std::string::npos &&
                   s.clientLog().find("terminated") != std::string::npos;
        }));
        QCOMPARE(unannounced, 0);
        // Three values for each child on its way up and three on its way down, the logs' lines, and the stop.
        QVERIFY2(changes >= 16, qPrintable(QString::number(changes)));
    }

    void theUpdatersAnnouncementsAreForwarded() {
        const TestTree tree;
        const auto vars = newAppVars(tree);
        QSignalSpy changes(vars.get(), &AppVars::objectWillChange);
        Q_EMIT vars->updater->objectWillChange();
        QCOMPARE(changes.count(), 1);
    }
};

TEST_CLASS(AppVarsTest, QCoreApplication)
#include "AppVarsTest.moc"

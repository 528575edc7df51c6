#include "InstallationScene.h"
#include "ProcessSetup.h"
#include "ServerAddresses.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"

#include <QTest>

#include <functional>

#include <sys/resource.h>

using namespace ferrolt;
namespace fs = std::filesystem;

/// Failures of the machine: tools, disk, permissions, settings, name server.
class InstallerMachineTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<InstallationScene> scene;

    void anOldVersionIsThere() {
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
    }
    void theOldVersionIsUntouched() {
        QCOMPARE(scene->installedContent(), QByteArray("old"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }
    /// The installation fails with this reason and changes nothing.
    void failsWith(const QString &reason, const QString &lastLine) {
        anOldVersionIsThere();
        QCOMPARE(scene->install(), InstallOutcome::failed(reason));
        QCOMPARE(scene->log().last(), lastLine);
        theOldVersionIsUntouched();
    }
    /// As failsWith(), after a change to the machine at the moment when a certain line is logged.
    void failsWith(const QString &reason, const QString &line, const std::function<void()> &trouble) {
        anOldVersionIsThere();
        const auto log = scene->logger();
        LibreOfficeInstaller installer(scene->services);
        std::optional<InstallOutcome> outcome;
        installer.install(
            version,
            [&](const QString &logged) {
                log(logged);
                if (logged == line)
                    trouble();
            },
            [&](const InstallOutcome &result) { outcome = result; });
        QTRY_VERIFY(outcome.has_value());
        QCOMPARE(outcome, InstallOutcome::failed(reason));
        QCOMPARE(scene->log().last(), line);
        QVERIFY(scene->isTemporaryFolderEmpty());
        theOldVersionIsUntouched();
    }

  private Q_SLOTS:
    void init() { scene = std::make_unique<InstallationScene>(); }

    void aMissingProgramIsFoundOutBeforeAnythingIsDownloaded_data() {
        QTest::addColumn<bool>("isArchiver");
        QTest::addColumn<QString>("reason");
        QTest::newRow("7-Zip") << true << QStringLiteral("failed to mount the LibreOffice disk image");
        QTest::newRow("pkexec") << false
                                << QStringLiteral("authorization was denied or the privileged copy failed");
    }
    void aMissingProgramIsFoundOutBeforeAnythingIsDownloaded() {
        QFETCH(bool, isArchiver);
        QFETCH(QString, reason);
        scene->publish({scene->goodMirror()});
        (isArchiver ? scene->tools->missing : scene->prompt->missing) = "the program";
        failsWith(reason, QStringLiteral(
                              "LibreOffice cannot be installed: the program is missing on this computer.\n"));
        QCOMPARE(scene->log().size(), 2);  // and the version gate's
        QCOMPARE(scene->server.requestCount(InstallationScene::metalinkPath()), 0);
        QVERIFY(scene->isTemporaryFolderEmpty());
        // Every installation looks for it again.
        (isArchiver ? scene->tools->missing : scene->prompt->missing).clear();
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
    }

    void theImageIsDetachedBeforeItsFolderIsRemoved_data() {
        QTest::addColumn<bool>("hasApplication");
        QTest::addColumn<bool>("isAuthorised");
        QTest::newRow("installed") << true << true;
        QTest::newRow("refused") << true << false;
        QTest::newRow("no application in it") << false << true;
    }
    void theImageIsDetachedBeforeItsFolderIsRemoved() {
        QFETCH(bool, hasApplication);
        QFETCH(bool, isAuthorised);
        scene->publish({scene->goodMirror()});
        if (!hasApplication)
            scene->tools->attach = [](const fs::path &, const fs::path &) { return true; };
        if (!isAuthorised)
            scene->prompt->answer = [](const fs::path &, const fs::path &) { return false; };
        std::vector<bool> wasThere;
        scene->tools->detach = [&](const fs::path &mountPoint) {
            wasThere.push_back(fs::exists(mountPoint) &&
                               fs::exists(mountPoint.parent_path() / "LibreOffice.dmg"));
        };
        QCOMPARE(scene->install()->which() == InstallOutcome::Case::Installed,
                 hasApplication && isAuthorised);
        QCOMPARE(wasThere, std::vector<bool>{true});
        QVERIFY(scene->isTemporaryFolderEmpty());
    }

    void aTemporaryFolderThatCannotBeWritten() {
        fs::remove(scene->temporary);
        writeFile(scene->temporary, "a file in its place");
        scene->publish({scene->goodMirror()});
        failsWith(QStringLiteral("could not create staging directory: ") +
                      QString::fromStdString(std::generic_category().message(ENOTDIR)),
                  QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n"));
        QCOMPARE(scene->server.requestCount(QStringLiteral("/good.dmg")), 0);
    }

    void aFileThatMayNotGrowInTheMiddleOfADownload() {
        scene->publish({scene->goodMirror()});
        setUpProcess();
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit small{1'100'000, before.rlim_max};  // more than the minimum size of an image
        setrlimit(RLIMIT_FSIZE, &small);
        failsWith(QStringLiteral("could not download a verified LibreOffice DMG from any mirror"),
                  InstallationScene::downloading());
        setrlimit(RLIMIT_FSIZE, &before);
        QVERIFY(scene->isTemporaryFolderEmpty());
    }

    void anImageThatIsRemovedBehindItsBack() {
        scene->publish({scene->goodMirror()});
        scene->services.tools = systemToolRunner();
        // The line is logged between the verification and the mount.
        failsWith(QStringLiteral("failed to mount the LibreOffice disk image"),
                  QStringLiteral("Mounting disk image\u2026\n"), [&] {
                      for (const auto &entry : fs::recursive_directory_iterator(scene->temporary))
                          if (entry.path().filename() == "LibreOffice.dmg")
                              fs::remove(entry.path());
                  });
    }

    void aWholeStagingFolderThatIsRemovedBehindItsBack() {
        scene->publish({scene->goodMirror()});
        failsWith(QStringLiteral("could not download a verified LibreOffice DMG from any mirror"),
                  QStringLiteral("Verifying download\u2026\n"), [&] {
                      for (const auto &entry : fs::directory_iterator(scene->temporary))
                          fs::remove_all(entry.path());
                  });
    }

    void settingsThatCannotBeWrittenDoNotHaveTheSameVersionInstalledAgainAndAgain() {
        // As large as the store can read: any longer version cannot be written.
        const fs::path file = scene->folder / "large.json";
        const QByteArray entries = R"({"InstalledLibreOfficeVersion":"7.6.4","filler":""})";
        writeFile(file, QByteArray(entries).insert(entries.size() - 2,
                                                   QByteArray(1024 * 1024 - entries.size(), 'x')));
        scene->services.settings = std::make_shared<SettingsStore>(file);
        scene->installBefore();
        scene->publish({scene->goodMirror()});
        LibreOfficeInstaller installer(scene->services);
        QCOMPARE(scene->install(installer), InstallOutcome::installed(version));
        QCOMPARE(scene->installedContent(), QByteArray("new"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
        const auto lines = scene->log();
        for (int check = 0; check < 3; ++check)
            QCOMPARE(scene->install(installer), InstallOutcome::alreadyCurrent());
        QCOMPARE(scene->log(), lines);
        QCOMPARE(scene->prompt->asked, 1);
        QCOMPARE(scene->server.requestCount(QStringLiteral("/good.dmg")), 1);

        // Another version is still an upgrade, from the version that was installed.
        scene->publish({scene->goodMirror()}, QStringLiteral("26.8.0"));
        QCOMPARE(scene->install(installer, QStringLiteral("26.8.0")),
                 InstallOutcome::installed(QStringLiteral("26.8.0")));
        QCOMPARE(scene->log().at(lines.size()),
                 QStringLiteral("LibreOffice 26.2.4 found; upgrading to 26.8.0.\n"));
    }

    void whatTheSettingsDidNotTakeIsWrittenAsSoonAsTheyDo_data() {
        QTest::addColumn<bool>("isAdopted");
        QTest::newRow("an installation") << false;
        QTest::newRow("the adoption of the user's own") << true;
    }
    void whatTheSettingsDidNotTakeIsWrittenAsSoonAsTheyDo() {
        QFETCH(bool, isAdopted);
        const fs::path file = scene->folder / "settings.ini";
        fs::create_directories(file);  // a folder with the name of the file
        scene->publish({scene->goodMirror()});
        if (isAdopted)
            scene->installBefore();
        LibreOfficeInstaller installer(scene->services);
        QCOMPARE(scene->install(installer),
                 isAdopted ? InstallOutcome::skippedUserInstalled() : InstallOutcome::installed(version));
        const auto lines = scene->log();
        QCOMPARE(scene->install(installer), InstallOutcome::alreadyCurrent());
        QVERIFY(!scene->recorded());
        fs::remove(file);
        QCOMPARE(scene->install(installer), InstallOutcome::alreadyCurrent());
        QCOMPARE(scene->recorded(), std::optional(version));
        QCOMPARE(scene->log(), lines);
        // From then on the settings hold the version again.
        scene->record(QStringLiteral("7.6.4"));
        QCOMPARE(scene->install(installer), InstallOutcome::installed(version));
    }

    void theDefaultServerOfALinuxBuildIsNotThereAndTheStepEndsQuietly() {
        const QString server = ServerAddresses().libreOfficeServer;
        if (server != QStringLiteral("https://downloads.ferrolt.example"))
            QSKIP("this build was given a server of its own");
        scene->services.server = server;
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(scene->install(),
                 InstallOutcome::failed(QStringLiteral("failed to download Metalink file")));
        QVERIFY(clock.elapsed() < 45'000);  // without a name server, the request times out after 30 s
        QCOMPARE(scene->log(),
                 QStringList{QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n")});
        QVERIFY(scene->isTemporaryFolderEmpty());
    }

    void whatAnEarlierRunLeftIsSweptBeforeAnythingElse_data() {
        QTest::addColumn<bool>("isCurrent");
        QTest::newRow("when there is something to install") << false;
        QTest::newRow("when there is nothing to install") << true;
    }
    void whatAnEarlierRunLeftIsSweptBeforeAnythingElse() {
        QFETCH(bool, isCurrent);
        const fs::path left = scene->temporary / "ferrolt-libreoffice-0F8FAD5B-D9CB-469F-A165-70867728950E";
        fs::create_directories(left / "mnt/LibreOffice.app");
        writeFile(left / "LibreOffice.dmg", "half");
        writeFile(scene->temporary / "mine", "stays");
        scene->publish({scene->goodMirror()});
        if (isCurrent) {
            scene->installBefore();
            scene->record(version);
        }
        scene->install();
        QTRY_VERIFY(!fs::exists(left));
        QCOMPARE(readFile(scene->temporary / "mine"), QByteArray("stays"));
        // An image that is still mounted there is detached first.
        QVERIFY(scene->tools->calls().front() ==
                (SubstituteTools::Call{"/usr/bin/hdiutil", "detach", (left / "mnt").string(), "-force"}));
    }
};

TEST_CLASS(InstallerMachineTest, QCoreApplication)
#include "InstallerMachineTest.moc"

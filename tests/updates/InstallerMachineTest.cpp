#include "InstallationScene.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "TreeSnapshot.h"

#include <QTest>

#include <csignal>

#include <sys/resource.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

const QString version = QStringLiteral("26.2.4");

}  // namespace

/// A machine that does not play along.
class InstallerMachineTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<InstallationScene> scene;

    /// The reason, and that nothing else has changed.
    void failsWith(const QString &reason, const QString &lastLine) {
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
        QCOMPARE(scene->install(), InstallOutcome::failed(reason));
        QCOMPARE(scene->log().last(), lastLine);
        QCOMPARE(scene->installedContent(), QByteArray("old"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }

  private Q_SLOTS:
    void init() { scene = std::make_unique<InstallationScene>(); }

    void aTemporaryFolderThatCannotBeWritten() {
        fs::remove(scene->temporary);
        writeFile(scene->temporary, "a file in its place");
        scene->publish({scene->goodMirror()});
        failsWith(QStringLiteral("could not create staging directory: ") +
                      QString::fromStdString(std::generic_category().message(ENOTDIR)),
                  QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n"));
        QCOMPARE(scene->server.requestCount(QStringLiteral("/good.dmg")), 0);
    }

    void aDiskThatIsFullInTheMiddleOfADownload() {
        scene->publish({scene->goodMirror()});
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit small{500'000, before.rlim_max};
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
        const auto log = scene->logger();
        LibreOfficeInstaller installer(scene->services);
        std::optional<InstallOutcome> outcome;
        installer.install(
            version,
            [&](const QString &line) {
                log(line);
                if (line.startsWith(QStringLiteral("Mounting")))
                    for (const auto &entry : fs::recursive_directory_iterator(scene->temporary))
                        if (entry.path().filename() == "LibreOffice.dmg")
                            fs::remove(entry.path());
            },
            [&](const InstallOutcome &result) { outcome = result; });
        QTRY_VERIFY(outcome.has_value());
        QCOMPARE(outcome,
                 InstallOutcome::failed(QStringLiteral("failed to mount the LibreOffice disk image")));
        QVERIFY(scene->isTemporaryFolderEmpty());
    }

    void aWholeStagingFolderThatIsRemovedBehindItsBack() {
        scene->publish({scene->goodMirror()});
        const auto log = scene->logger();
        LibreOfficeInstaller installer(scene->services);
        std::optional<InstallOutcome> outcome;
        installer.install(
            version,
            [&](const QString &line) {
                log(line);
                if (line.startsWith(QStringLiteral("Verifying")))
                    for (const auto &entry : fs::directory_iterator(scene->temporary))
                        fs::remove_all(entry.path());
            },
            [&](const InstallOutcome &result) { outcome = result; });
        QTRY_VERIFY(outcome.has_value());
        QCOMPARE(outcome, InstallOutcome::failed(QStringLiteral(
                              "could not download a verified LibreOffice DMG from any mirror")));
        QCOMPARE(scene->log().last(), QStringLiteral("Verifying download\u2026\n"));
        QVERIFY(scene->isTemporaryFolderEmpty());
    }

    void settingsThatCannotBeWrittenDoNotStopTheInstallation() {
        fs::create_directories(scene->folder / "settings.ini");  // a folder in the file's place
        scene->publish({scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->installedContent(), QByteArray("new"));
    }

    void theDefaultServerOfALinuxBuildIsNotThereAndTheStepEndsQuietly() {
        LibreOfficeInstaller::Services defaults;
        if (defaults.server != QStringLiteral("https://downloads.ferrolt.example"))
            QSKIP("this build was given a server of its own");
        scene->services.server = defaults.server;
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(scene->install(),
                 InstallOutcome::failed(QStringLiteral("failed to download Metalink file")));
        QVERIFY(clock.elapsed() < 15'000);
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
        // Whatever is still mounted in there comes off first.
        QVERIFY(scene->tools->calls().front() ==
                (SubstituteTools::Call{"/usr/bin/hdiutil", "detach", (left / "mnt").string(), "-force"}));
    }
};

QTEST_GUILESS_MAIN(InstallerMachineTest)
#include "InstallerMachineTest.moc"

#include "InstallationScene.h"
#include "PkexecCopy.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "TreeSnapshot.h"

#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

const QString version = QStringLiteral("26.2.4");

}  // namespace

/// With nothing substituted but the prompt's answer: a real disk image, the system's archiver and copy tools.
class RealInstallationTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<InstallationScene> scene;
    QByteArray searchPath;

    void promptSays(const QByteArray &commands) {
        writeScript(scene->folder / "pkexec", commands);
        scene->services.privilegedCopy = std::make_shared<PkexecCopy>(scene->folder / "pkexec");
    }
    void publishImage(const QByteArray &content) {
        scene->server.on(QStringLiteral("/image.dmg"), TestHttpsServer::replies(200, content));
        scene->server.on(
            InstallationScene::metalinkPath(),
            TestHttpsServer::replies(
                200, InstallationScene::metalink({scene->server.url(QStringLiteral("/image.dmg")).toString()},
                                                 InstallationScene::sha256(content))));
    }
    void anOldVersionIsThere() {
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
    }
    /// A further attempt, which ends with that reason behind that line and changes nothing.
    void failsWith(const QString &reason, const QStringList &lines) {
        const auto before = scene->log().size();
        QCOMPARE(scene->install(), InstallOutcome::failed(reason));
        const QStringList first{QStringLiteral("LibreOffice 7.6.4 found; upgrading to 26.2.4.\n"),
                                QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n"),
                                InstallationScene::downloading(),
                                QStringLiteral("Verifying download\u2026\n"),
                                QStringLiteral("Mounting disk image\u2026\n")};
        QCOMPARE(scene->log().mid(before), first + lines);
        QVERIFY(scene->isTemporaryFolderEmpty());
        QCOMPARE(scene->installedContent(), QByteArray("old"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }
    void theMountFails() { failsWith(QStringLiteral("failed to mount the LibreOffice disk image"), {}); }
    void theCopyFails() {
        failsWith(
            QStringLiteral("authorization was denied or the privileged copy failed"),
            {QStringLiteral(
                "Installing LibreOffice to /Applications (administrator authorization required)\u2026\n")});
    }
    static QByteArray noise(qsizetype size) { return QByteArray(testPattern() + testPattern()).left(size); }
    /// Large enough to pass for an image.
    static QByteArray smallImage() {
        TestHfsVolume volume(QStringLiteral("LibreOffice"));
        const auto app = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("LibreOffice.app"));
        volume.addFile(app, QStringLiteral("content"), noise(1'100'000));
        return udifImage(volume.bytes(), UdifBlocks::Zlib);
    }

  private Q_SLOTS:
    void init() {
        scene = std::make_unique<InstallationScene>();
        scene->services.tools = systemToolRunner();
        searchPath = qgetenv("PATH");
        promptSays("exec \"$@\"");
    }
    void cleanup() { qputenv("PATH", searchPath); }

    void theApplicationInARealImageIsInstalledWithItsLinksAndModes() {
        const fs::path source = scene->folder / "source";
        const fs::path contents = source / "LibreOffice.app/Contents";
        fs::create_directories(contents / "MacOS");
        writeFile(contents / "MacOS/soffice", noise(1'500'000));
        fs::permissions(contents / "MacOS/soffice", fs::perms(0755));
        writeFile(contents / "\u00dcbersicht.txt", "accents");
        fs::permissions(contents / "\u00dcbersicht.txt", fs::perms(0640));
        fs::create_symlink("MacOS/soffice", contents / "link");
        fs::create_symlink("/Applications", source / "Applications");
        const QByteArray volume =
            hfsPlusVolumeOf(QString::fromStdString(source.string()), QStringLiteral("LibreOffice 26.2"));
        QVERIFY2(!volume.isEmpty(), "xorriso is needed to write an HFS+ volume");
        publishImage(udifImage(volume, UdifBlocks::Zlib));

        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->log(), InstallationScene::linesOfAnInstallation({InstallationScene::downloading()}));
        QCOMPARE(treeDifference(treeSnapshot(scene->application), treeSnapshot(source / "LibreOffice.app")),
                 QByteArray());
        QCOMPARE(scene->recorded(), std::optional(version));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QCOMPARE(scene->install(), InstallOutcome::alreadyCurrent());
    }

    void aHostileImageIsAFailedMount() {
        const fs::path victim = scene->folder / "victim";
        fs::create_directory(victim);
        writeFile(victim / "passwd", "precious");
        TestHfsVolume volume(QStringLiteral("LibreOffice"));
        volume.addLink(TestHfsVolume::rootFolder, QStringLiteral("a"),
                       QByteArray::fromStdString(victim.string()));
        const auto folder = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("a"));
        volume.addFile(folder, QStringLiteral("passwd"), "owned");
        const auto app = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("LibreOffice.app"));
        volume.addFile(app, QStringLiteral("content"), noise(1'100'000));
        publishImage(udifImage(volume.bytes(), UdifBlocks::Zlib));
        anOldVersionIsThere();
        theMountFails();
        QCOMPARE(readFile(victim / "passwd"), QByteArray("precious"));
    }

    void anArchiverThatIsKilledIsAFailedMount() {
        publishImage(smallImage());
        fs::create_directory(scene->folder / "bin");
        writeScript(scene->folder / "bin/7zz",
                    "[ \"$1\" = x ] && kill -9 $$\nPATH='" + searchPath + "' exec 7zz \"$@\"\n");
        qputenv("PATH", QByteArray::fromStdString((scene->folder / "bin").string()) + ":" + searchPath);
        anOldVersionIsThere();
        theMountFails();
    }

    void withoutAnArchiverTheMountFails() {
        publishImage(smallImage());
        fs::create_directory(scene->folder / "bin");
        qputenv("PATH", QByteArray::fromStdString((scene->folder / "bin").string()));
        anOldVersionIsThere();
        theMountFails();
    }

    void aRefusedPromptAndAMissingOneAreTheSameFailure() {
        publishImage(smallImage());
        anOldVersionIsThere();
        promptSays("exit 126");
        theCopyFails();
        scene->services.privilegedCopy = std::make_shared<PkexecCopy>(scene->folder / "missing");
        theCopyFails();
    }

    void aCopyThatFailsKeepsTheOldApplication() {
        publishImage(smallImage());
        anOldVersionIsThere();
        promptSays("ulimit -f 100\nexec \"$@\"");
        theCopyFails();
    }
};

QTEST_GUILESS_MAIN(RealInstallationTest)
#include "RealInstallationTest.moc"

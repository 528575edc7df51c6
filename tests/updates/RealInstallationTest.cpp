#include "DiskImage.h"
#include "InstallationScene.h"
#include "PkexecCopy.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"

#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

/// A real disk image and the system's archiver, up to a prompt that is never accepted.
/// PrivilegedInstallationTest goes on from there.
class RealInstallationTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<InstallationScene> scene;

    void promptIs(const fs::path &program) {
        PkexecCopy::Places places;
        places.prompt = program;
        places.application = scene->application;
        scene->services.privilegedCopy = std::make_shared<PkexecCopy>(places);
    }
    void archiverIs(const fs::path &program) {
        scene->tools->attach = [program](const fs::path &image, const fs::path &mountPoint) {
            return DiskImage({program}).attach(image, mountPoint);
        };
        scene->services.tools = scene->tools;
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
    /// Another installation, which fails with this reason after this log line and changes nothing.
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
    /// Above the minimum size of an image.
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
        writeScript(scene->folder / "pkexec", "exit 126");
        promptIs(scene->folder / "pkexec");
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
        writeScript(scene->folder / "archiver",
                    "[ \"$1\" = x ] && kill -9 $$\nexec '" +
                        QByteArray::fromStdString(DiskImage::systemArchiver().string()) + "' \"$@\"\n");
        archiverIs(scene->folder / "archiver");
        anOldVersionIsThere();
        theMountFails();
    }

    void anArchiverThatIsRemovedMeanwhileIsAFailedMount() {
        publishImage(smallImage());
        archiverIs(scene->folder / "missing");
        anOldVersionIsThere();
        theMountFails();
    }

    void aRefusedPromptAndOneThatIsRemovedMeanwhileAreTheSameFailure() {
        publishImage(smallImage());
        anOldVersionIsThere();
        theCopyFails();
        writeScript(scene->folder / "pkexec", "rm \"$0\"; exit 127");
        theCopyFails();
    }
};

TEST_CLASS(RealInstallationTest, QCoreApplication)
#include "RealInstallationTest.moc"

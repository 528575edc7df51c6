#include "InstallationScene.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "TreeSnapshot.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>
#include <QTextStream>

#include <sched.h>
#include <sys/mount.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

const QString version = QStringLiteral("26.2.4");

constexpr int mayNotMount = 100;

/// A process of its own, because it mounts a disk of the size given in the temporary folder's place. Prints
/// the last line and the reason.
int installOnASmallDisk(const QStringList &arguments) {
    const fs::path folder = arguments.value(1).toStdString();
    const fs::path temporary = folder / "tmp";
    const std::string size = "size=" + arguments.value(2).toStdString();
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", temporary.c_str(), "tmpfs", 0, size.c_str()) != 0)
        return mayNotMount;
    LibreOfficeInstaller::Services services;
    services.server = arguments.value(0);
    services.http.extraAuthorities = readFile(folder / "authority.pem");
    services.application = folder / "Applications/LibreOffice.app";
    services.temporaryFolder = temporary;
    services.settings = std::make_shared<SettingsStore>(folder / "settings.ini");
    services.privilegedCopy = std::make_shared<SubstitutePrompt>();
    services.workQueue = std::make_shared<WorkQueue>("test.libreoffice-install", QualityOfService::Utility);
    LibreOfficeInstaller installer(services);
    QString last;
    installer.install(
        version, [&](const QString &line) { last = line; },
        [&](const InstallOutcome &outcome) {
            QTextStream(stdout) << last << outcome.text();
            QCoreApplication::exit(fs::is_empty(temporary) ? 0 : 1);
        });
    return QCoreApplication::exec();
}

}  // namespace

/// An installation in a temporary folder whose disk, a real one in memory, runs full.
class InstallerFullDiskTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theOldVersionStays_data() {
        QTest::addColumn<QString>("size");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("lastLine");
        QTest::newRow("in the middle of the download")
            << QStringLiteral("1100k")
            << QStringLiteral("could not download a verified LibreOffice DMG from any mirror")
            << InstallationScene::downloading();
        QTest::newRow("in the middle of the unpacking")
            << QStringLiteral("1800k") << QStringLiteral("failed to mount the LibreOffice disk image")
            << QStringLiteral("Mounting disk image\u2026\n");
    }
    void theOldVersionStays() {
        QFETCH(QString, size);
        QFETCH(QString, reason);
        QFETCH(QString, lastLine);
        InstallationScene scene;
        TestHfsVolume volume(QStringLiteral("LibreOffice"));
        const auto app = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("LibreOffice.app"));
        volume.addFile(app, QStringLiteral("content"), testPattern() + testPattern().left(200'000));
        const QByteArray image = udifImage(volume.bytes(), UdifBlocks::Zlib);
        scene.server.on(QStringLiteral("/image.dmg"), TestHttpsServer::replies(200, image));
        scene.server.on(
            InstallationScene::metalinkPath(),
            TestHttpsServer::replies(
                200, InstallationScene::metalink({scene.server.url(QStringLiteral("/image.dmg")).toString()},
                                                 InstallationScene::sha256(image))));
        writeFile(scene.folder / "authority.pem", scene.authority.certificate());
        scene.installBefore();
        scene.record(QStringLiteral("7.6.4"));

        QProcess program;
        program.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--on-a-small-disk"), scene.server.base(),
                       QString::fromStdString(scene.folder.string()), size});
        QVERIFY(program.waitForFinished(60'000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        if (program.exitCode() == mayNotMount)
            QSKIP("This user may not mount a file system.");
        QCOMPARE(QString::fromUtf8(program.readAllStandardOutput()), QString(lastLine + reason));
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(scene.installedContent(), QByteArray("old"));
        QCOMPARE(scene.recorded(), std::optional(QStringLiteral("7.6.4")));
    }
};

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QStringLiteral("--on-a-small-disk"))
        return installOnASmallDisk(arguments.mid(2));
    InstallerFullDiskTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "InstallerFullDiskTest.moc"

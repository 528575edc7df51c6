#include "InstallationScene.h"
#include "SmallDisk.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "TestProgram.h"
#include "ToolRunner.h"
#include "TreeSnapshot.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>
#include <QTextStream>

#include <unistd.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

constexpr int mayNotMount = 100;

/// Runs in a child process in which a small disk is mounted as the temporary folder. Prints the last log line
/// and the reason of the failure.
int installOnASmallDisk(const QStringList &arguments) {
    const fs::path folder = arguments.value(1).toStdString();
    const fs::path temporary = folder / "tmp";
    LibreOfficeInstaller::Services services;
    services.server = arguments.value(0);
    services.http.extraAuthorities = readFile(folder / "authority.pem");
    services.application = folder / "Applications/LibreOffice.app";
    services.temporaryFolder = temporary;
    services.settings = std::make_shared<SettingsStore>(folder / "settings.ini");
    services.tools = systemToolRunner();
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

/// An installation whose temporary folder is on a disk, a real one in memory, that becomes full.
class InstallerFullDiskTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theOldVersionStays_data() {
        QTest::addColumn<int>("size");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("lastLine");
        QTest::newRow("in the middle of the download")
            << 1100 << QStringLiteral("could not download a verified LibreOffice DMG from any mirror")
            << InstallationScene::downloading();
        QTest::newRow("in the middle of the unpacking")
            << 1800 << QStringLiteral("failed to mount the LibreOffice disk image")
            << QStringLiteral("Mounting disk image\u2026\n");
    }
    void theOldVersionStays() {
        QFETCH(int, size);  // in KiB
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

        const fs::path temporary = scene.folder / "tmp";
        SmallDisk disk(temporary, static_cast<std::uint64_t>(size) << 10);
        QProcess program;
        const auto install = [&] {
            program.start(QCoreApplication::applicationFilePath(),
                          {QStringLiteral("InstallerFullDiskTest"), QStringLiteral("--on-a-small-disk"),
                           scene.server.base(), QString::fromStdString(scene.folder.string())});
            return program.waitForFinished(60'000);
        };
        program.setChildProcessModifier([&disk] {
            if (!disk.mount())
                ::_exit(mayNotMount);
        });
        QVERIFY(install());
        if (program.exitCode() == mayNotMount) {
            if (!disk.useSharedMemory())
                QSKIP("This user may not mount a file system, and /dev/shm is not small.");
            program.setChildProcessModifier({});
            QVERIFY(install());
        }
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(QString::fromUtf8(program.readAllStandardOutput()), QString(lastLine + reason));
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(scene.installedContent(), QByteArray("old"));
        QCOMPARE(scene.recorded(), std::optional(QStringLiteral("7.6.4")));
    }
};

TEST_MAIN(InstallerFullDiskTest) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QStringLiteral("--on-a-small-disk"))
        return installOnASmallDisk(arguments.mid(2));
    InstallerFullDiskTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "InstallerFullDiskTest.moc"

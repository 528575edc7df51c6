#include "DiskImage.h"
#include "EndProcess.h"
#include "InstallationScene.h"
#include "MainQueue.h"
#include "PkexecCopy.h"
#include "ProcessFacts.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QProcess>
#include <QSocketNotifier>
#include <QTest>

#include <atomic>
#include <semaphore>

#include <unistd.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

/// The child process that quits during an installation: it leaves its event loop, as a quit does, while the
/// work queue is busy. With a log line given, it quits at that line, and the installation blocks there.
/// Without one it quits when it can read from standard input, with the scripts "archiver" and "prompt" as its
/// tools.
int quitInTheMiddle(const QStringList &arguments) {
    const QString server = arguments.value(0);
    const fs::path folder = arguments.value(1).toStdString();
    const QString line = arguments.value(2);
    LibreOfficeInstaller::Services services;
    services.server = server;
    services.http.extraAuthorities = readFile(folder / "authority.pem");
    services.application = folder / "Applications/LibreOffice.app";
    services.temporaryFolder = folder / "tmp";
    services.settings = std::make_shared<SettingsStore>(folder / "settings.ini");
    const auto tools = std::make_shared<SubstituteTools>();
    services.tools = tools;
    if (line.isEmpty()) {
        tools->attach = [folder](const fs::path &image, const fs::path &mountPoint) {
            return DiskImage({folder / "archiver"}).attach(image, mountPoint);
        };
        PkexecCopy::Places places;
        places.prompt = folder / "prompt";
        places.application = services.application;
        services.privilegedCopy = std::make_shared<PkexecCopy>(places);
    } else {
        services.privilegedCopy = std::make_shared<SubstitutePrompt>();
    }
    services.workQueue = std::make_shared<WorkQueue>("test.libreoffice-install", QualityOfService::Utility);
    LibreOfficeInstaller installer(services);
    QSocketNotifier told(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&told, &QSocketNotifier::activated, &told, [&] {
        told.setEnabled(false);
        QCoreApplication::exit(42);
    });
    installer.install(
        version,
        [line](const QString &logged) {
            if (line.isEmpty() || !logged.startsWith(line))
                return;
            MainQueue::async([] { QCoreApplication::exit(42); });
            static std::binary_semaphore forever(0);
            forever.acquire();
        },
        [](const InstallOutcome &) { QCoreApplication::exit(1); });
    return QCoreApplication::exec();
}

/// A real disk image above the minimum size.
QByteArray smallImage() {
    TestHfsVolume volume(QStringLiteral("LibreOffice"));
    const auto app = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("LibreOffice.app"));
    volume.addFile(app, QStringLiteral("content"), testPattern());
    return udifImage(volume.bytes(), UdifBlocks::Zlib);
}

}  // namespace

/// A quit during each step of an installation, in a child process.
class InstallerQuitTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theProgramEndsAtOnceAndTheNextInstallationLeavesNothingOfIt_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("isInstalled");
        for (const char *line : {"Fetching", "Downloading", "Verifying", "Mounting", "Installing"})
            QTest::newRow(line) << QString::fromLatin1(line) << false;
        QTest::newRow("installed") << QStringLiteral("LibreOffice 26.2.4 installed") << true;
    }
    void theProgramEndsAtOnceAndTheNextInstallationLeavesNothingOfIt() {
        QFETCH(QString, line);
        QFETCH(bool, isInstalled);
        InstallationScene scene;
        scene.publish({scene.goodMirror()});
        writeFile(scene.folder / "authority.pem", scene.authority.certificate());
        scene.installBefore();
        scene.record(QStringLiteral("7.6.4"));

        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedChannels);
        program.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("InstallerQuitTest"), QStringLiteral("--quit-in-the-middle"),
                       scene.server.base(), QString::fromStdString(scene.folder.string()), line});
        QVERIFY(program.waitForFinished(20'000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 42);
        QCOMPARE(scene.recorded(), std::optional(QStringLiteral("7.6.4")));
        QCOMPARE(scene.installedContent(), QByteArray(isInstalled ? "new" : "old"));

        QCOMPARE(scene.install(), InstallOutcome::installed(version));
        QVERIFY(scene.isTemporaryFolderEmpty());
        QCOMPARE(scene.recorded(), std::optional(version));
        QCOMPARE(scene.installedContent(), QByteArray("new"));
    }

    void whatIsUnderWayIsNotWaitedFor_data() {
        QTest::addColumn<QString>("what");
        for (const char *what : {"the document", "the download", "the archiver", "the prompt"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }
    void whatIsUnderWayIsNotWaitedFor() {
        QFETCH(QString, what);
        const bool isTool = what == QLatin1String("the archiver") || what == QLatin1String("the prompt");
        InstallationScene scene;
        writeFile(scene.folder / "authority.pem", scene.authority.certificate());
        scene.installBefore();
        scene.record(QStringLiteral("7.6.4"));
        const QByteArray image = smallImage();
        std::atomic<bool> isStalling = false;
        const TestHttpsServer::Handler stalls = [&](TestExchange &exchange) {
            exchange.head(200, {{"Content-Length", QByteArray::number(image.size())}});
            exchange.send(image.left(100'000));
            isStalling = true;
            exchange.stall();
        };
        const QString mirror = scene.server.url(QStringLiteral("/image.dmg")).toString();
        scene.server.on(QStringLiteral("/image.dmg"), what == QLatin1String("the download")
                                                          ? stalls
                                                          : TestHttpsServer::replies(200, image));
        scene.server.on(InstallationScene::metalinkPath(),
                        what == QLatin1String("the document")
                            ? stalls
                            : TestHttpsServer::replies(200, InstallationScene::metalink(
                                                                {mirror}, InstallationScene::sha256(image))));
        const QByteArray noteAndSleep =
            "echo $$ >'" + QByteArray::fromStdString((scene.folder / "pid").string()) + "'\nexec sleep 60\n";
        writeScript(scene.folder / "prompt", noteAndSleep);
        const QByteArray archiver =
            "exec '" + QByteArray::fromStdString(DiskImage::systemArchiver().string()) + "' \"$@\"\n";
        writeScript(scene.folder / "archiver", what == QLatin1String("the archiver")
                                                   ? "[ \"$1\" = x ] || " + archiver + noteAndSleep
                                                   : archiver);
        const auto tool = [&] { return readFile(scene.folder / "pid").trimmed().toInt(); };

        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedChannels);
        program.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("InstallerQuitTest"), QStringLiteral("--quit-in-the-middle"),
                       scene.server.base(), QString::fromStdString(scene.folder.string())});
        QVERIFY(waitUntil([&] { return isTool ? tool() != 0 : isStalling.load(); }));
        program.write("quit\n");
        QVERIFY(program.waitForFinished(15000));  // instead of the 30 or 60 s that its work takes
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 42);
        QVERIFY(!isTool || waitUntil([&] { return !isAlive(tool()); }));
        QCOMPARE(scene.recorded(), std::optional(QStringLiteral("7.6.4")));
        QCOMPARE(scene.installedContent(), QByteArray("old"));

        scene.publish({scene.goodMirror()});
        QCOMPARE(scene.install(), InstallOutcome::installed(version));
        QVERIFY(scene.isTemporaryFolderEmpty());
        QCOMPARE(scene.installedContent(), QByteArray("new"));
    }
};

TEST_MAIN(InstallerQuitTest) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QStringLiteral("--quit-in-the-middle"))
        endProcess(quitInTheMiddle(arguments.mid(2)));
    InstallerQuitTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "InstallerQuitTest.moc"

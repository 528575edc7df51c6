#include "InstallationScene.h"
#include "MainQueue.h"
#include "TreeSnapshot.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <semaphore>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

const QString version = QStringLiteral("26.2.4");

/// The program that is quit: an installation that stands still from the given line on. Leaves its event loop
/// as a quit does, with the work queue in the middle of its work.
/// Without a line it is quit while it downloads.
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
    services.tools = std::make_shared<SubstituteTools>();
    services.privilegedCopy = std::make_shared<SubstitutePrompt>();
    services.workQueue = std::make_shared<WorkQueue>("test.libreoffice-install", QualityOfService::Utility);
    LibreOfficeInstaller installer(services);
    QObject::connect(installer.progress.get(), &InstallProgress::changed, installer.progress.get(), [&] {
        if (line.isEmpty() && installer.progress->facts().done > 0)
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

}  // namespace

/// A quit in the middle of each step, with the program as a process of its own.
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
                      {QStringLiteral("--quit-in-the-middle"), scene.server.base(),
                       QString::fromStdString(scene.folder.string()), line});
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

    void aDownloadIsNotWaitedFor() {
        InstallationScene scene;
        scene.server.on(QStringLiteral("/endless.dmg"), TestHttpsServer::stallsAfter(300'000, scene.image));
        scene.publish({scene.server.url(QStringLiteral("/endless.dmg")).toString()});
        writeFile(scene.folder / "authority.pem", scene.authority.certificate());
        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedChannels);
        program.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--quit-in-the-middle"), scene.server.base(),
                       QString::fromStdString(scene.folder.string())});
        QVERIFY(program.waitForFinished(10'000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 42);
        QVERIFY(!scene.recorded());
        scene.publish({scene.goodMirror()});
        QCOMPARE(scene.install(), InstallOutcome::installed(version));
        QVERIFY(scene.isTemporaryFolderEmpty());
    }
};

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QStringLiteral("--quit-in-the-middle"))
        return quitInTheMiddle(arguments.mid(2));
    InstallerQuitTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "InstallerQuitTest.moc"

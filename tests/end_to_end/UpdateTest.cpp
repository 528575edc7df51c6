#include "Background.h"
#include "FileDescriptor.h"
#include "HttpSession.h"
#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "PrivateSystem.h"
#include "ProcessFacts.h"
#include "TestAuthority.h"
#include "TestDiskImage.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"
#include "UpdateServers.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QTest>

#include <atomic>
#include <chrono>
#include <csignal>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace ferrolt;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

const fs::path application = "/Applications/LibreOffice.app";
const QString &version = UpdateServers::version;
const QString settingsFile = ".config/" FERROLT_REVERSE_DOMAIN ".json";

}  // namespace

Q_DECLARE_METATYPE(ferrolt::PrivateSystem::Certificates)

/// The shipped program, in a system in which its servers, its prompt and /Applications belong to the test.
class UpdateTest : public QObject {
    Q_OBJECT

  public:
    explicit UpdateTest(const TestAuthority &authority, std::string trouble)
        : authority(authority), trouble(std::move(trouble)) {}

  private:
    const TestAuthority &authority;
    const std::string trouble;

    /// The program with children that run until they are stopped, and an open engine port.
    struct Run {
        VirtualDesktop desktop;
        Listener port;
        InstalledTree tree{"wait", "wait"};
        QTemporaryDir temporary;
        std::unique_ptr<Launcher> launcher;

        void start() {
            tree.writeEnginePort(std::to_string(port.port));
            qputenv("TMPDIR", temporary.path().toLocal8Bit());
            launcher = std::make_unique<Launcher>(desktop, tree.executable(), tree.home());
        }
    };

  private Q_SLOTS:
    void initTestCase() {
        if (!trouble.empty())
            QSKIP(qPrintable("no system of its own can be made here: " + QString::fromStdString(trouble)));
    }

    void init() {
        fs::remove_all(application);
        PrivateSystem::setHosts(UpdateServers::servedHosts());
        PrivateSystem::setCertificates(PrivateSystem::Certificates::Both,
                                       authority.certificate().toStdString());
    }

    void theNamedVersionIsInstalledAndTheEngineAloneIsRestarted() {
        const VirtualDesktop desktop;
        QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure()));
        UpdateServers servers(authority);
        const QTemporaryDir volume;
        makeApplicationVolume(volume.path().toStdString());
        const QByteArray hfs = hfsPlusVolumeOf(volume.path(), "LibreOffice 26.2");
        QVERIFY2(!hfs.isEmpty(), "xorriso is needed to write an HFS+ volume");
        servers.publish(udifImage(hfs, UdifBlocks::Zlib));
        const Listener port;
        InstalledTree tree("silent",
                           "wait");  // an engine's output could appear between the installer's lines
        tree.writeEnginePort(std::to_string(port.port));
        const QTemporaryDir temporary;
        qputenv("TMPDIR", temporary.path().toLocal8Bit());

        {
            Launcher launcher(desktop, tree.executable(), tree.home());
            QVERIFY(waitUntil([&] { return launcher.child("Orbix") && launcher.child("qorclient"); }, 60s));
            const pid_t engine = launcher.child("Orbix")->id;
            const pid_t client = launcher.child("qorclient")->id;
            servers.mayDeliver = true;
            QVERIFY(waitUntil(
                [&] {
                    const std::optional<ChildFacts> running = launcher.child("Orbix");
                    return running && running->id != engine;
                },
                60s));
            QVERIFY(!isAlive(engine));
            QCOMPARE(launcher.child("qorclient")->id, client);

            QCOMPARE(launcher.startAgain(), 0);
            QVERIFY(waitUntil([&] { return launcher.visibleWindows().contains("Ferrolt Miner Launcher"); }));
            QString expected = "Fetching LibreOffice " + version + " download info\u2026\n";
            for (const QString &host : UpdateServers::mirrorHosts)
                expected += "Downloading LibreOffice from " + host + "\u2026\n";
            expected +=
                "Verifying download\u2026\nMounting disk image\u2026\n"
                "Installing LibreOffice to /Applications (administrator authorization required)\u2026\n"
                "LibreOffice " +
                version +
                " installed successfully.\n"
                "LibreOffice installed; restarting Lumora Core so its workers pick up office-document "
                "support.\nLumora Core started.\n";
            QString log;
            QVERIFY2(waitUntil([&] {
                         log = launcher.consoleText("Lumora Core Engine");
                         return log.contains(expected);
                     }),
                     qPrintable(log));
            QVERIFY(log.startsWith("Lumora Core started.\n"));
            QVERIFY(!log.contains("terminated"));
            QVERIFY(!launcher.consoleText("Qor Client").contains("terminated"));
        }
        QCOMPARE(treeDifference(treeSnapshot(application),
                                treeSnapshot(volume.path().toStdString() + "/LibreOffice.app")),
                 QByteArray());
        QVERIFY(readFile(tree.home() / settingsFile.toStdString())
                    .contains("\"InstalledLibreOfficeVersion\": \"" + version.toUtf8() + '"'));
        QVERIFY(fs::is_empty(temporary.path().toStdString()));

        // A second check finds nothing to do.
        const auto metalinks = servers.origin.requestCount(UpdateServers::metalinkPath);
        const auto manifests = servers.origin.requestCount(UpdateServers::manifestPath);
        Launcher again(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return again.child("Orbix") && again.child("qorclient"); }, 60s));
        QCOMPARE(again.startAgain(), 0);
        QVERIFY(waitUntil([&] { return again.visibleWindows().contains("Ferrolt Miner Launcher"); }));
        QVERIFY(waitUntil([&] { return again.consoleText("Qor Client").contains("ready"); }));
        QCOMPARE(again.consoleText("Lumora Core Engine").trimmed(), QString("Lumora Core started."));
        QCOMPARE(servers.origin.requestCount(UpdateServers::manifestPath), manifests + 1);
        QCOMPARE(servers.origin.requestCount(UpdateServers::metalinkPath), metalinks);
    }

    void theMachinesAuthoritiesAreTrustedHoweverTheyAreStored_data() {
        QTest::addColumn<PrivateSystem::Certificates>("layout");
        QTest::newRow("as update-ca-certificates does") << PrivateSystem::Certificates::Both;
        QTest::newRow("bundle only") << PrivateSystem::Certificates::BundleOnly;
        QTest::newRow("links by hash only") << PrivateSystem::Certificates::LinksOnly;
    }
    void theMachinesAuthoritiesAreTrustedHoweverTheyAreStored() {
        QFETCH(PrivateSystem::Certificates, layout);
        PrivateSystem::setCertificates(layout, authority.certificate().toStdString());
        UpdateServers servers(authority);
        servers.publish("no image");
        Run run;
        QVERIFY2(run.desktop.failure().isEmpty(), qPrintable(run.desktop.failure()));
        run.start();
        // The program requests the Metalink only after it has received the manifest with the version.
        QVERIFY(
            waitUntil([&] { return servers.origin.requestCount(UpdateServers::metalinkPath) == 1; }, 60s));
        QCOMPARE(servers.origin.requestCount(UpdateServers::manifestPath), 1);
    }

    void withoutAuthoritiesTheUpdateFailsAndTheChildrenRun() {
        PrivateSystem::setCertificates(PrivateSystem::Certificates::None,
                                       authority.certificate().toStdString());
        UpdateServers servers(authority);
        servers.publish("no image");
        Run run;
        QVERIFY2(run.desktop.failure().isEmpty(), qPrintable(run.desktop.failure()));
        run.start();
        QVERIFY(
            waitUntil([&] { return run.launcher->child("Orbix") && run.launcher->child("qorclient"); }, 60s));
        QCOMPARE(run.launcher->startAgain(), 0);
        QVERIFY(waitUntil([&] { return run.launcher->visibleWindows().contains("Ferrolt Miner Launcher"); }));
        QString log;
        QVERIFY2(waitUntil([&] {
                     log = run.launcher->consoleText("Lumora Core Engine");
                     return log.contains(
                         "LibreOffice install skipped: failed to download Metalink file. Will retry "
                         "on the next check.\n");
                 }),
                 qPrintable(log));
        QVERIFY(run.launcher->child("Orbix") && run.launcher->child("qorclient"));
        QVERIFY(servers.origin.requests().isEmpty());
        QVERIFY(servers.origin.connectionCount() >= 2);
    }

    void anAuthorityThatIsHandedInIsTrustedBesideTheMachines() {
        const TestAuthority another;
        TestHttpsServer ofTheMachine(authority.issue());
        TestHttpsServer ofTheOther(another.issue());
        HttpConfiguration configuration;
        configuration.extraAuthorities = another.certificate();
        for (TestHttpsServer *server : {&ofTheMachine, &ofTheOther}) {
            server->on("/", TestHttpsServer::replies(200, "trusted"));
            const QUrl url = server->url("/");
            QCOMPARE(inBackground([&] { return HttpSession(configuration).fetchData(url); }).body,
                     QByteArray("trusted"));
        }
    }

    void aQuitWhileANameServerDoesNotAnswerEndsTheProgramAtOnce() {
        PrivateSystem::setHosts({});
        const FileDescriptor nameServer(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(53);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        QVERIFY(bind(nameServer.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0);
        Run run;
        QVERIFY2(run.desktop.failure().isEmpty(), qPrintable(run.desktop.failure()));
        run.start();
        char query[512];
        QVERIFY(
            waitUntil([&] { return recv(nameServer.get(), query, sizeof query, MSG_DONTWAIT) > 0; }, 60s));
        // The DNS query may come before the program has installed its signal handlers; the window comes after
        // that.
        QCOMPARE(run.launcher->startAgain(), 0);
        QVERIFY(waitUntil([&] { return run.launcher->visibleWindows().contains("Ferrolt Miner Launcher"); }));
        // A resolver queries twice and waits five seconds each time.
        kill(run.launcher->id(), SIGTERM);
        QVERIFY(waitUntil([&] { return !run.launcher->isRunning(); }, 8s));
        QCOMPARE(run.launcher->program().exitStatus(), QProcess::NormalExit);
        QCOMPARE(run.launcher->program().exitCode(), 0);
    }

    void aQuitInTheMiddleOfADownloadEndsTheProgramAtOnce() {
        const VirtualDesktop desktop;
        QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure()));
        UpdateServers servers(authority);
        const QByteArray image = testPattern() + testPattern();
        servers.publish(image);
        std::atomic<bool> isStalling = false;
        servers.mirrors[2]->on(UpdateServers::imagePath, [&](TestExchange &exchange) {
            exchange.head(200, {{"Content-Length", QByteArray::number(image.size())}});
            exchange.send(image.left(100'000));
            isStalling = true;
            exchange.stall();
        });
        const Listener port;
        InstalledTree tree("wait", "wait");
        tree.writeEnginePort(std::to_string(port.port));
        const QTemporaryDir temporary;
        qputenv("TMPDIR", temporary.path().toLocal8Bit());
        {
            Launcher launcher(desktop, tree.executable(), tree.home());
            QVERIFY(waitUntil([&] { return isStalling.load(); }, 60s));
            QVERIFY(launcher.isRunning());
            kill(launcher.id(), SIGTERM);
            QVERIFY(waitUntil([&] { return !launcher.isRunning(); }, 20s));
            QCOMPARE(launcher.program().exitStatus(), QProcess::NormalExit);
            QCOMPARE(launcher.program().exitCode(), 0);
        }
        QVERIFY(!readFile(tree.home() / settingsFile.toStdString()).contains("InstalledLibreOfficeVersion"));
        QVERIFY(!fs::exists(application));

        // The next start removes what was left behind, even if it installs nothing.
        fs::create_directories(fs::path(temporary.path().toStdString()) /
                               "ferrolt-libreoffice-0F8FAD5B-D9CB-469F-A165-70867728950E/mnt");
        servers.mirrors[2]->on(UpdateServers::imagePath, TestHttpsServer::replies(404, "not here"));
        const auto asked = servers.mirrors[2]->requestCount(UpdateServers::imagePath);
        Launcher again(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return servers.mirrors[2]->requestCount(UpdateServers::imagePath) > asked; },
                          60s));
        QVERIFY(waitUntil([&] { return fs::is_empty(temporary.path().toStdString()); }));
    }
};

TEST_MAIN(UpdateTest) {
    // pkexec's own option is "--disable-internal-agent"; it sets PKEXEC_UID to the user who asked.
    return PrivateSystem::run("shift\nPKEXEC_UID=$(id -u) exec \"$@\"\n", [&](const std::string &trouble) {
        const TestAuthority authority;
        QCoreApplication qt(argc, argv);
        UpdateTest test(authority, trouble);
        return QTest::qExec(&test, argc, argv);
    });
}

#include "UpdateTest.moc"

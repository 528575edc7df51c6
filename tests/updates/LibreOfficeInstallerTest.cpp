#include "InChild.h"
#include "InstallationScene.h"
#include "LibreOfficeInstaller.h"
#include "MainQueue.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"
#include "Waiting.h"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <semaphore>
#include <thread>
#include <utility>

#include <pthread.h>
#include <sys/resource.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

QByteArray threadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

QStringList fetching() {
    return {QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n")};
}

/// The number of the first step that failed of an installation without a thread to spare, and of the next
/// one.
int installWithoutAThread() {
    InstallationScene own;
    if (!obeyLimits())
        return 1;
    LibreOfficeInstaller installer(own.services);
    rlimit before{};
    getrlimit(RLIMIT_NPROC, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NPROC, &none);
    const auto outcome = own.install(installer);
    setrlimit(RLIMIT_NPROC, &before);
    if (outcome != InstallOutcome::failed(QStringLiteral("could not create staging directory: ") +
                                          QString::fromStdString(std::generic_category().message(EAGAIN))))
        return 2;
    if (LibreOfficeInstaller::isInstalling())
        return 3;
    own.installBefore();
    return own.install(installer) == InstallOutcome::skippedUserInstalled() ? 0 : 4;
}

}  // namespace

/// The gate, the whole procedure and the delivery.
class LibreOfficeInstallerTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<InstallationScene> scene;
    int withoutAThread = -1;

  private Q_SLOTS:
    void initTestCase() {
        // A forked copy never gets a lock that another thread held at the fork: before the first scene has
        // threads.
        withoutAThread = inChild(installWithoutAThread);
    }
    void init() { scene = std::make_unique<InstallationScene>(); }
    void cleanup() {
        QVERIFY(!LibreOfficeInstaller::isInstalling());
        scene.reset();
    }

    void anInstallationLogsEachStepAndIsRecorded() {
        scene->publish({scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->log(), InstallationScene::linesOfAnInstallation({InstallationScene::downloading()}));
        QCOMPARE(scene->installedContent(), QByteArray("new"));
        QCOMPARE(scene->recorded(), std::optional(version));
        QVERIFY(scene->isTemporaryFolderEmpty());
    }

    void theDiskImageToolGetsExactlyItsArguments() {
        scene->publish({scene->goodMirror()});
        fs::path staging;
        scene->tools->attach = [&](const fs::path &image, const fs::path &mountPoint) {
            staging = image.parent_path();
            fs::create_directory(mountPoint / "LibreOffice.app");
            return fs::is_directory(mountPoint) && readFile(image) == scene->image;
        };
        fs::path source;
        fs::path destination;
        scene->prompt->answer = [&](const fs::path &from, const fs::path &to) {
            source = from;
            destination = to;
            return true;
        };
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QVERIFY(staging.filename().string().starts_with("ferrolt-libreoffice-"));
        QCOMPARE(staging.parent_path(), scene->temporary);
        const std::string mountPoint = (staging / "mnt").string();
        const std::vector<SubstituteTools::Call> expected{
            {"/usr/bin/hdiutil", "attach", (staging / "LibreOffice.dmg").string(), "-mountpoint", mountPoint,
             "-nobrowse", "-readonly", "-quiet"},
            {"/usr/bin/hdiutil", "detach", mountPoint, "-force"}};
        QVERIFY(scene->tools->calls() == expected);
        QCOMPARE(source, staging / "mnt/LibreOffice.app");
        QCOMPARE(destination, scene->application);
    }

    void aSecondInstallWhileOneRunsFailsAtOnceAndLeavesTheFirstAlone() {
        scene->publish({scene->goodMirror()});
        std::binary_semaphore mayGoOn(0);
        std::atomic<bool> isMounting = false;
        scene->tools->attach = [&](const fs::path &, const fs::path &mountPoint) {
            isMounting = true;
            mayGoOn.acquire();
            return fs::create_directory(mountPoint / "LibreOffice.app");
        };
        LibreOfficeInstaller first(scene->services);
        std::optional<InstallOutcome> outcome;
        first.install(version, scene->logger(), [&](const InstallOutcome &result) { outcome = result; });
        QVERIFY(waitUntil([&] { return isMounting.load(); }));
        QVERIFY(LibreOfficeInstaller::isInstalling());
        const auto linesBefore = scene->log();

        const auto failure =
            InstallOutcome::failed(QStringLiteral("another LibreOffice install is already running"));
        QCOMPARE(scene->install(), failure);  // by another installer: one installation per process
        std::optional<InstallOutcome> again;
        first.install(version, scene->logger(), [&](const InstallOutcome &result) { again = result; });
        QVERIFY(waitUntil([&] { return again.has_value(); }));
        QCOMPARE(again, failure);
        QVERIFY(LibreOfficeInstaller::isInstalling());
        QVERIFY(!outcome.has_value());
        QCOMPARE(scene->log(), linesBefore);

        mayGoOn.release();
        QVERIFY(waitUntil([&] { return outcome.has_value(); }));
        QCOMPARE(outcome, InstallOutcome::installed(version));
        QCOMPARE(scene->server.requestCount(InstallationScene::metalinkPath()), 1);
    }

    void theOutcomeComesWhenTheVersionIsRecordedAndAnotherInstallationMayBegin() {
        scene->publish({scene->goodMirror()});
        LibreOfficeInstaller installer(scene->services);
        int calls = 0;
        bool wasInstalling = true;
        std::optional<QString> recorded;
        installer.install(version, {}, [&](const InstallOutcome &) {
            ++calls;
            wasInstalling = LibreOfficeInstaller::isInstalling();
            recorded = scene->recorded();
        });
        QVERIFY(waitUntil([&] { return calls > 0; }));
        QCOMPARE(calls, 1);
        QVERIFY(!wasInstalling);
        QCOMPARE(recorded, std::optional(version));
    }

    void withoutAThreadToSpareItFailsAndTheNextOneIsLookedAt() { QCOMPARE(withoutAThread, 0); }

    void afterAStopNoInstallationBegins() {
        scene->publish({scene->goodMirror()});
        LibreOfficeInstaller installer(scene->services);
        std::optional<InstallOutcome> outcome;
        installer.install(version, scene->logger(), [&](const InstallOutcome &result) { outcome = result; });
        installer.stop();  // before gate() runs
        QVERIFY(waitUntil([&] { return outcome.has_value(); }));
        const auto denied =
            InstallOutcome::failed(QStringLiteral("authorization was denied or the privileged copy failed"));
        QCOMPARE(outcome, denied);
        QCOMPARE(scene->install(installer), denied);
        QVERIFY(scene->log().isEmpty());
        QCOMPARE(scene->server.requests().size(), 0);
    }

    void anInstallationUnderWayAtAStopAsksForNoPasswordAndLeavesNothingBehind() {
        scene->publish({scene->goodMirror()});
        LibreOfficeInstaller installer(scene->services);
        scene->tools->attach = [&](const fs::path &, const fs::path &mountPoint) {
            MainQueue::sync([&] { installer.stop(); });
            return fs::create_directory(mountPoint / "LibreOffice.app");
        };
        QCOMPARE(
            scene->install(installer),
            InstallOutcome::failed(QStringLiteral("authorization was denied or the privileged copy failed")));
        QCOMPARE(scene->prompt->asked, 0);
        QCOMPARE(scene->log().last(), QStringLiteral("Mounting disk image\u2026\n"));
        QCOMPARE(scene->tools->calls().back().at(1), std::string("detach"));
        QVERIFY(!scene->recorded());
        QVERIFY(scene->isTemporaryFolderEmpty());
    }

    void anApplicationThatTheUserInstalledIsLeftAloneAndAdopted() {
        scene->publish({scene->goodMirror()});
        scene->installBefore("the user's own");
        QCOMPARE(scene->install(), InstallOutcome::skippedUserInstalled());
        QCOMPARE(scene->log(),
                 QStringList{QStringLiteral(
                     "LibreOffice is already installed (not by this launcher); leaving it in place.\n")});
        QCOMPARE(scene->recorded(), std::optional(version));
        QCOMPARE(scene->install(), InstallOutcome::alreadyCurrent());
        QCOMPARE(scene->log().size(), 1);
        QCOMPARE(scene->server.requests().size(), 0);
        QCOMPARE(scene->installedContent(), QByteArray("the user's own"));
        QVERIFY(scene->isTemporaryFolderEmpty());

        // From now on it counts as the launcher's own.
        scene->publish({scene->goodMirror()}, QStringLiteral("26.8.0"));
        QCOMPARE(scene->install(QStringLiteral("26.8.0")),
                 InstallOutcome::installed(QStringLiteral("26.8.0")));
        QCOMPARE(scene->installedContent(), QByteArray("new"));
    }

    /// Else the old application would be recorded as the wanted version.
    void settingsThatCannotBeReadForAMomentMakeNoApplicationTheUsers() {
        class Settings : public SettingsStore {
          public:
            using SettingsStore::SettingsStore;
            std::optional<QString> text(const QString &key) const override {
                return std::exchange(isReadable, true) ? SettingsStore::text(key) : std::nullopt;
            }
            mutable bool isReadable = false;
        };
        scene->services.settings = std::make_shared<Settings>(scene->folder / "settings.json");
        scene->record(QStringLiteral("7.6.4"));
        scene->installBefore();
        scene->publish({scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->installedContent(), QByteArray("new"));
    }

    void anotherVersionIsAnUpgradeAlsoALowerOne_data() {
        QTest::addColumn<QString>("recorded");
        QTest::newRow("lower") << QStringLiteral("7.6.4");
        QTest::newRow("higher") << QStringLiteral("99.1");
        QTest::newRow("the same number, written otherwise") << QStringLiteral("26.2.4 ");
        QTest::newRow("empty") << QString();
    }
    void anotherVersionIsAnUpgradeAlsoALowerOne() {
        QFETCH(QString, recorded);
        scene->publish({scene->goodMirror()});
        scene->installBefore();
        scene->record(recorded.isNull() ? QStringLiteral("") : recorded);
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->log(),
                 (QStringList{QStringLiteral("LibreOffice %1 found; upgrading to 26.2.4.\n").arg(recorded)} +
                  InstallationScene::linesOfAnInstallation({InstallationScene::downloading()})));
        QCOMPARE(scene->installedContent(), QByteArray("new"));
        QCOMPARE(scene->recorded(), std::optional(version));
    }

    void aRecordedVersionAloneDoesNotCount() {
        scene->publish({scene->goodMirror()});
        scene->record(version);
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->installedContent(), QByteArray("new"));
    }

    void theThirdMirrorAfterAMissingPageAndASmallOne() {
        scene->server.on(QStringLiteral("/missing.dmg"), TestHttpsServer::replies(404, "not here"));
        scene->server.on(QStringLiteral("/page.dmg"),
                         TestHttpsServer::replies(200, QByteArray(500'000, ' ')));
        scene->publish({scene->server.url(QStringLiteral("/missing.dmg")).toString(),
                        scene->server.url(QStringLiteral("/page.dmg")).toString(), scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->log(),
                 InstallationScene::linesOfAnInstallation(QStringList(3, InstallationScene::downloading())));
    }

    void aWrongDigestIsToldAndTheNextMirrorIsTried() {
        scene->server.on(QStringLiteral("/wrong.dmg"), TestHttpsServer::replies(200, scene->image + "x"));
        scene->publish({scene->server.url(QStringLiteral("/wrong.dmg")).toString(), scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        auto expected = InstallationScene::linesOfAnInstallation(
            {InstallationScene::downloading(), QStringLiteral("Verifying download\u2026\n"),
             QStringLiteral("Checksum mismatch from this mirror; trying another.\n"),
             InstallationScene::downloading()});
        QCOMPARE(scene->log(), expected);
    }

    void aFailedMountLeavesNoStagingFolderBehindAndIsNotDetached() {
        scene->publish({scene->goodMirror()});
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
        scene->tools->attach = [](const fs::path &, const fs::path &) { return false; };
        QCOMPARE(scene->install(),
                 InstallOutcome::failed(QStringLiteral("failed to mount the LibreOffice disk image")));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QCOMPARE(scene->tools->calls().size(), std::size_t{1});
        QCOMPARE(scene->log().last(), QStringLiteral("Mounting disk image\u2026\n"));
        QCOMPARE(scene->installedContent(), QByteArray("old"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }

    void anImageWithoutTheApplicationIsDetachedAgain_data() {
        QTest::addColumn<int>("layout");
        QTest::newRow("nothing") << 0;
        QTest::newRow("below a folder") << 1;
        QTest::newRow("a link") << 2;
        QTest::newRow("a file") << 3;
    }
    void anImageWithoutTheApplicationIsDetachedAgain() {
        QFETCH(int, layout);
        scene->publish({scene->goodMirror()});
        scene->tools->attach = [&](const fs::path &, const fs::path &mountPoint) {
            if (layout == 1)
                fs::create_directories(mountPoint / "LibreOffice/LibreOffice.app");
            if (layout == 2)
                fs::create_directory_symlink("/usr", mountPoint / "LibreOffice.app");
            if (layout == 3)
                writeFile(mountPoint / "LibreOffice.app", "file");
            return true;
        };
        QCOMPARE(scene->install(),
                 InstallOutcome::failed(QStringLiteral("LibreOffice.app not found in the mounted image")));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QCOMPARE(scene->tools->calls().size(), std::size_t{2});
        QCOMPARE(scene->tools->calls().back()[1], std::string("detach"));
        QCOMPARE(scene->prompt->asked, 0);
        QVERIFY(!scene->recorded());
        QVERIFY(fs::exists("/usr"));
    }

    void aRefusedPromptLeavesEverythingAsItWas() {
        scene->publish({scene->goodMirror()});
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
        scene->prompt->answer = [](const fs::path &, const fs::path &) { return false; };
        QCOMPARE(
            scene->install(),
            InstallOutcome::failed(QStringLiteral("authorization was denied or the privileged copy failed")));
        QCOMPARE(
            scene->log().last(),
            QStringLiteral(
                "Installing LibreOffice to /Applications (administrator authorization required)\u2026\n"));
        QCOMPARE(scene->tools->calls().back()[1], std::string("detach"));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QCOMPARE(scene->installedContent(), QByteArray("old"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }

    void aCopyThatFailsAfterTheRemovalIsNotRecorded() {
        scene->publish({scene->goodMirror()});
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
        scene->prompt->answer = [](const fs::path &, const fs::path &destination) {
            fs::remove_all(destination);
            return false;
        };
        QCOMPARE(
            scene->install(),
            InstallOutcome::failed(QStringLiteral("authorization was denied or the privileged copy failed")));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
        // With the application gone the next check installs it, whatever is recorded.
        scene->prompt->answer = nullptr;
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
    }

    void nothingHappensInsideTheCallAndTheOutcomeComesOnTheMainThread() {
        scene->publish({scene->goodMirror()});
        scene->installBefore();
        LibreOfficeInstaller installer(scene->services);
        std::optional<bool> onMain;
        // Any thread may ask.
        std::thread([&] {
            installer.install(version, scene->logger(),
                              [&](const InstallOutcome &) { onMain = MainQueue::isMainThread(); });
        }).join();
        QVERIFY(scene->log().isEmpty());
        QVERIFY(!onMain.has_value());
        QVERIFY(waitUntil([&] { return onMain.has_value(); }));
        QVERIFY(*onMain);
    }

    void theGatesLinesComeOnTheMainThreadAndAllOthersOnTheWorkQueue() {
        scene->publish({scene->goodMirror()});
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
        std::mutex mutex;
        QStringList onMain;
        QList<QByteArray> elsewhere;
        LibreOfficeInstaller installer(scene->services);
        bool done = false;
        installer.install(
            version,
            [&](const QString &line) {
                std::lock_guard lock(mutex);
                if (MainQueue::isMainThread())
                    onMain.append(line);
                else
                    elsewhere.append(threadName());
            },
            [&](const InstallOutcome &) { done = true; });
        QVERIFY(waitUntil([&] { return done; }));
        QCOMPARE(onMain, QStringList{QStringLiteral("LibreOffice 7.6.4 found; upgrading to 26.2.4.\n")});
        QCOMPARE(elsewhere.size(), InstallationScene::linesOfAnInstallation({{}}).size());
        for (const QByteArray &name : elsewhere)
            QCOMPARE(name,
                     QByteArray(
                         "libreoffice-ins"));  // the queue's thread name, cut to 15 characters by the system
    }

    void theSessionOfAnInstallation() {
        const LibreOfficeInstaller::Services services;
        QVERIFY(services.http.requestTimeout == std::chrono::seconds(30));
        QVERIFY(services.http.resourceTimeout == std::chrono::seconds(900));
        QVERIFY(services.http.extraAuthorities.isEmpty());
        QCOMPARE(LibreOfficeInstaller::versionKey, QStringLiteral("InstalledLibreOfficeVersion"));
    }

    void oneInstallationHasOneSessionForAllItsRequests() {
        scene->publish({scene->server.url(QStringLiteral("/one")).toString(), scene->goodMirror()});
        scene->server.on(QStringLiteral("/one"), TestHttpsServer::replies(404));
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->server.requests().size(), 3);
        QCOMPARE(scene->server.connectionCount(), 1);
    }

    void withoutACompletionTheOutcomeIsStillRecorded() {
        scene->publish({scene->goodMirror()});
        LibreOfficeInstaller installer(scene->services);
        installer.install(version, {});
        QVERIFY(waitUntil([&] { return scene->recorded() == version; }));
        QVERIFY(waitUntil([&] { return !LibreOfficeInstaller::isInstalling(); }));
        installer.install(version, {});  // it is current
        bool turned = false;
        MainQueue::async([&] { turned = true; });
        QVERIFY(waitUntil([&] { return turned; }));
        QCOMPARE(scene->recorded(), std::optional(version));
    }

    void anInstallerThatIsGoneBeforeItsTurnDoesNothing() {
        scene->publish({scene->goodMirror()});
        bool called = false;
        std::make_unique<LibreOfficeInstaller>(scene->services)
            ->install(version, scene->logger(), [&](const InstallOutcome &) { called = true; });
        bool turned = false;
        MainQueue::async([&] { turned = true; });
        QVERIFY(waitUntil([&] { return turned; }));
        QVERIFY(!called);
        QVERIFY(!LibreOfficeInstaller::isInstalling());
        QCOMPARE(scene->server.connectionCount(), 0);
    }

    void anInstallerThatIsGoneMeanwhileStillRecordsWhatItInstalled() {
        scene->publish({scene->goodMirror()});
        auto installer = std::make_unique<LibreOfficeInstaller>(scene->services);
        std::optional<InstallOutcome> outcome;
        installer->install(version, scene->logger(), [&](const InstallOutcome &result) { outcome = result; });
        QVERIFY(waitUntil([] { return LibreOfficeInstaller::isInstalling(); }));
        installer.reset();
        QVERIFY(waitUntil([&] { return outcome.has_value(); }));
        QCOMPARE(outcome, InstallOutcome::installed(version));
        QCOMPARE(scene->recorded(), std::optional(version));
    }

    void whoeverWatchesSeesHowFarItIs() {
        scene->publish({scene->goodMirror()});
        LibreOfficeInstaller installer(scene->services);
        QStringList texts;
        QObject::connect(installer.progress.get(), &InstallProgress::changed, installer.progress.get(), [&] {
            if (texts.isEmpty() || texts.last() != installer.progress->text())
                texts.append(installer.progress->text());
        });
        bool done = false;
        installer.install(version, scene->logger(), [&](const InstallOutcome &) { done = true; });
        QVERIFY(waitUntil([&] { return done; }));
        QVERIFY(waitUntil([&] { return installer.progress->isIdle(); }));
        QCOMPARE(texts.first(), QStringLiteral("LibreOffice 26.2.4: 0 MB"));
        QVERIFY(texts.contains(QStringLiteral("LibreOffice 26.2.4: 1 of 1 MB")));
        QCOMPARE(texts.mid(texts.size() - 3),
                 (QStringList{QStringLiteral("LibreOffice 26.2.4: verifying"),
                              QStringLiteral("LibreOffice 26.2.4: installing"), QString()}));
        QVERIFY(fetching().first() == scene->log().first());
    }

    void whoeverWatchesSeesHowMuchIsUnpacked() {
        scene->publish({scene->goodMirror()});
        scene->tools->report = [](const ToolRunner::Progress &progress) {
            progress(1, 2);
            std::this_thread::sleep_for(
                std::chrono::milliseconds(110));  // progress is reported ten times a second
            progress(2, 2);
        };
        LibreOfficeInstaller installer(scene->services);
        QList<InstallProgress::Status> seen;
        QObject::connect(installer.progress.get(), &InstallProgress::changed, installer.progress.get(),
                         [&] { seen.append(installer.progress->status()); });
        QCOMPARE(scene->install(installer), InstallOutcome::installed(version));
        QVERIFY(waitUntil([&] { return installer.progress->isIdle(); }));
        using Phase = InstallProgress::Phase;
        QVERIFY(seen.contains({.phase = Phase::Installing, .version = version, .done = 2, .total = 2}));
        // Neither before the archiver begins nor during the copy is there a number to show.
        const InstallProgress::Status withoutNumbers{.phase = Phase::Installing, .version = version};
        const auto first = std::ranges::find(seen, Phase::Installing, &InstallProgress::Status::phase);
        QVERIFY(first != seen.end() && *first == withoutNumbers);
        QCOMPARE(seen.at(seen.size() - 2), withoutNumbers);
        QVERIFY(seen.constLast().phase == Phase::Idle);
    }

    void progressIsNotShownBeforeThereIsSomethingToDownload() {
        scene->server.on(InstallationScene::metalinkPath(), TestHttpsServer::replies(404));
        LibreOfficeInstaller installer(scene->services);
        QSignalSpy changes(installer.progress.get(), &InstallProgress::changed);
        bool done = false;
        installer.install(version, scene->logger(), [&](const InstallOutcome &) { done = true; });
        QVERIFY(waitUntil([&] { return done; }));
        QCOMPARE(changes.count(), 0);
    }
};

TEST_CLASS(LibreOfficeInstallerTest, QCoreApplication)
#include "LibreOfficeInstallerTest.moc"

#include "ClientHome.h"
#include "FatalError.h"
#include "LauncherPrefsModel.h"
#include "LoadProps.h"
#include "TestProgram.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// A disk whose fsync() takes `delay`. The test may shorten it meanwhile.
struct SlowDisk {
    std::atomic<std::chrono::milliseconds> delay{};
    std::atomic<int> waiting = 0;
} disk;

}  // namespace

// Replaces the C library's function in this program.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int fsync(int descriptor) {
    const auto begin = std::chrono::steady_clock::now();
    ++disk.waiting;
    while (std::chrono::steady_clock::now() - begin < disk.delay.load())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    --disk.waiting;
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace ferrolt {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using StatusLine = LauncherPrefsModel::StatusLine;

namespace {

/// Time that passes only in pass().
class StandingTime : public TimeSource {
  public:
    Duration now() const override { return current; }
    void sleepFor(Duration) override {}
    std::unique_ptr<Timer> startTimer(Duration, std::function<void()>) override { return nullptr; }
    void callAfter(Duration delay, std::function<void()> work) override {
        waiting.emplace_back(current + delay, std::move(work));
    }

    void pass(Duration duration) {
        const Duration end = current + duration;
        for (;;) {
            const auto next =
                std::min_element(waiting.begin(), waiting.end(),
                                 [](const auto &a, const auto &b) { return a.first < b.first; });
            if (next == waiting.end() || next->first > end)
                break;
            auto [moment, work] = std::move(*next);
            waiting.erase(next);
            current = moment;
            work();
        }
        current = end;
    }

    std::size_t waitingCount() const { return waiting.size(); }

  private:
    Duration current{};
    std::vector<std::pair<Duration, std::function<void()>>> waiting;
};

}  // namespace

class LauncherPrefsModelTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void onAFirstLaunchTheFieldsAreEmptyAndSavingCreatesTheFileAndShowsSuccessForThreeSeconds();
    void theMissingCredentialsLineAsksForEmailAndNameButNotForADisplayName();
    void aFieldOfBlanksCountsAsFilledUntilItIsLoadedAgain();
    void twoPressesTwoSecondsApartHideSuccessThreeSecondsAfterTheFirst();
    void unsavedEditsAreLostOnLoading();
    void loadingTakesTheTrimmedValuesOfTheFile();
    void savingWritesTheFieldsUnchanged();
    void successIsShownEvenWhenTheFileCouldNotBeWritten();
    void aStartIsAskedForSoonAndNeverInsideThePress();
    void theFileIsSavedBeforeTheStartIsAskedFor();
    void aSlowDiskHoldsUpTheServicesButNotTheForm();
    void onASlowDiskTheLastSaveIsTheOneThatStays();
    void theEndOfTheFormWaitsForASaveThatIsUnderWay();
    void everyChangeOfTheStatusLineThatTheFormDoesNotMakeItselfIsSignalled();
    void aModelThatGoesBeforeItsResetHarmsNobodyAndStillStartsTheServices();
    void onTheRealClockSuccessLastsThreeSeconds();
    void withoutAServiceStartTheProgramEnds();

  private:
    std::optional<ClientHome> home;
    std::shared_ptr<StandingTime> time;
    std::unique_ptr<LauncherPrefsModel> model;
    int starts = 0;
};

void LauncherPrefsModelTest::init() {
    home.emplace();
    starts = 0;
    time = std::make_shared<StandingTime>();
    model = std::make_unique<LauncherPrefsModel>([this] { ++starts; }, time);
}

void LauncherPrefsModelTest::cleanup() {
    QCoreApplication::processEvents();  // otherwise a start could be counted in the next test
    model.reset();
    time.reset();
    home.reset();
}

void LauncherPrefsModelTest::
    onAFirstLaunchTheFieldsAreEmptyAndSavingCreatesTheFileAndShowsSuccessForThreeSeconds() {
    model->load();
    QCOMPARE(model->_email, QString());
    QCOMPARE(model->_entity, QString());
    QCOMPARE(model->_displayName, QString());
    QCOMPARE(model->statusLine(), StatusLine::MissingCredentials);

    model->_email = QStringLiteral("miner@example.org");
    model->saveAndApply();
    QVERIFY(home->readConfiguration().startsWith("### Qor Miner client configuration file ###\n"));
    QVERIFY(home->readConfiguration().contains("\nMinerEmailAddress       = miner@example.org\n"));
    QCOMPARE(model->statusLine(), StatusLine::Success);
    time->pass(2999ms);
    QCOMPARE(model->statusLine(), StatusLine::Success);
    time->pass(1ms);
    QCOMPARE(model->statusLine(), StatusLine::MissingCredentials);
}

void LauncherPrefsModelTest::theMissingCredentialsLineAsksForEmailAndNameButNotForADisplayName() {
    model->_email = QStringLiteral("miner@example.org");
    QCOMPARE(model->statusLine(), StatusLine::MissingCredentials);
    model->_entity = QStringLiteral("Acme");
    QCOMPARE(model->statusLine(), StatusLine::None);
    model->_email = QString();
    QCOMPARE(model->statusLine(), StatusLine::MissingCredentials);
    model->_displayName = QStringLiteral("rig");
    QCOMPARE(model->statusLine(), StatusLine::MissingCredentials);
}

void LauncherPrefsModelTest::aFieldOfBlanksCountsAsFilledUntilItIsLoadedAgain() {
    model->_email = QStringLiteral("miner@example.org");
    model->_entity = QStringLiteral("  \t");
    QCOMPARE(model->statusLine(), StatusLine::None);
    model->saveAndApply();
    time->pass(3s);
    QCOMPARE(model->statusLine(), StatusLine::None);
    model->load();
    QCOMPARE(model->_entity, QString());
    QCOMPARE(model->statusLine(), StatusLine::MissingCredentials);
    model->_entity = QStringLiteral("Acme");
    model->_email = QStringLiteral(" ");
    QCOMPARE(model->statusLine(), StatusLine::None);
}

void LauncherPrefsModelTest::twoPressesTwoSecondsApartHideSuccessThreeSecondsAfterTheFirst() {
    model->_email = QStringLiteral("miner@example.org");
    model->_entity = QStringLiteral("Acme");
    model->saveAndApply();
    time->pass(2s);
    model->saveAndApply();
    time->pass(999ms);
    QCOMPARE(model->statusLine(), StatusLine::Success);
    time->pass(1ms);
    QCOMPARE(model->statusLine(), StatusLine::None);
    QCOMPARE(time->waitingCount(), std::size_t{1});
    time->pass(2s);  // the second reset changes nothing
    QCOMPARE(model->statusLine(), StatusLine::None);
    QTRY_COMPARE(starts, 2);
}

void LauncherPrefsModelTest::unsavedEditsAreLostOnLoading() {
    home->writeConfiguration(
        "MinerEmailAddress = saved@example.org\nMinerEntityName = Saved\nMinerDisplayName = saved\n");
    model->load();
    model->_email = QStringLiteral("typed");
    model->_entity = QStringLiteral("typed");
    model->_displayName = QStringLiteral("typed");
    model->load();
    QCOMPARE(model->_email, QStringLiteral("saved@example.org"));
    QCOMPARE(model->_entity, QStringLiteral("Saved"));
    QCOMPARE(model->_displayName, QStringLiteral("saved"));
    fs::remove(home->configuration());
    model->load();
    QCOMPARE(model->_email + model->_entity + model->_displayName, QString());
}

void LauncherPrefsModelTest::loadingTakesTheTrimmedValuesOfTheFile() {
    home->writeConfiguration(
        "MinerEmailAddress =  \t a@b \t\nMinerEntityName = \t\nMinerDisplayName = a = b\n");
    model->load();
    QCOMPARE(model->_email, QStringLiteral("a@b"));
    QCOMPARE(model->_entity, QString());
    QCOMPARE(model->_displayName, QStringLiteral("a"));
}

void LauncherPrefsModelTest::savingWritesTheFieldsUnchanged() {
    home->writeConfiguration("");
    model->_email = QStringLiteral(" not an address ");
    model->_entity = QStringLiteral("\tA = B");
    model->saveAndApply();
    QCOMPARE(home->readConfiguration(), QByteArray("MinerEmailAddress       =  not an address \n"
                                                   "MinerEntityName         = \tA = B\n"
                                                   "MinerDisplayName        = \n"));
    QCOMPARE(model->_email, QStringLiteral(" not an address "));
}

void LauncherPrefsModelTest::successIsShownEvenWhenTheFileCouldNotBeWritten() {
    ClientHome::write(home->path() / "home", "a file in place of the folder");
    model->saveAndApply();
    QCOMPARE(model->statusLine(), StatusLine::Success);
    QTRY_COMPARE(starts, 1);
    QCOMPARE(ClientHome::read(home->path() / "home"), QByteArray("a file in place of the folder"));
}

void LauncherPrefsModelTest::aStartIsAskedForSoonAndNeverInsideThePress() {
    model->saveAndApply();
    QCOMPARE(starts, 0);
    QTRY_COMPARE(starts, 1);
    time->pass(10s);
    QCoreApplication::processEvents();
    QCOMPARE(starts, 1);
}

void LauncherPrefsModelTest::theFileIsSavedBeforeTheStartIsAskedFor() {
    QString storedAtStart;
    LauncherPrefsModel form([&] { storedAtStart = LoadProps::MinerEntityName(); }, time);
    form._entity = QStringLiteral("Acme");
    form.saveAndApply();
    QTRY_COMPARE(storedAtStart, QStringLiteral("Acme"));
}

void LauncherPrefsModelTest::aSlowDiskHoldsUpTheServicesButNotTheForm() {
    const auto letTheDiskGoOn = qScopeGuard([] { disk.delay = 0ms; });
    home->writeConfiguration("");
    disk.delay = 20s;
    model->_entity = QStringLiteral("Acme");
    model->saveAndApply();
    QTRY_COMPARE(disk.waiting.load(), 1);
    QCOMPARE(model->statusLine(), StatusLine::Success);
    QCOMPARE(home->readConfiguration(), QByteArray(""));
    QCoreApplication::processEvents();
    QCOMPARE(starts, 0);
    model->load();  // the file still holds the old values
    QCOMPARE(model->_entity, QStringLiteral("Acme"));

    disk.delay = 0ms;
    QTRY_COMPARE(starts, 1);
    QVERIFY(home->readConfiguration().contains("\nMinerEntityName         = Acme\n"));
    model->load();
    QCOMPARE(model->_entity, QStringLiteral("Acme"));
}

void LauncherPrefsModelTest::onASlowDiskTheLastSaveIsTheOneThatStays() {
    const auto letTheDiskGoOn = qScopeGuard([] { disk.delay = 0ms; });
    disk.delay = 20s;
    for (const char *entity : {"First", "Second", "Third"}) {
        model->_entity = QString::fromLatin1(entity);
        model->saveAndApply();
    }
    disk.delay = 0ms;
    QTRY_COMPARE(starts, 3);
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("Third"));
}

void LauncherPrefsModelTest::theEndOfTheFormWaitsForASaveThatIsUnderWay() {
    const auto letTheDiskGoOn = qScopeGuard([] { disk.delay = 0ms; });
    disk.delay = 2 * LauncherPrefsModel::maxFreeze;
    model->_entity = QStringLiteral("Acme");
    model->saveAndApply();
    model.reset();
    QCOMPARE(disk.waiting.load(), 0);
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("Acme"));
}

void LauncherPrefsModelTest::everyChangeOfTheStatusLineThatTheFormDoesNotMakeItselfIsSignalled() {
    QList<StatusLine> seen;
    connect(model.get(), &LauncherPrefsModel::savedSuccessfullyChanged, this,
            [&] { seen += model->statusLine(); });
    model->_email = QStringLiteral("e");
    QCOMPARE(seen, QList<StatusLine>());
    model->saveAndApply();
    QCOMPARE(seen, QList{StatusLine::Success});
    time->pass(3s);
    QCOMPARE(seen, (QList{StatusLine::Success, StatusLine::MissingCredentials}));
}

void LauncherPrefsModelTest::aModelThatGoesBeforeItsResetHarmsNobodyAndStillStartsTheServices() {
    model->saveAndApply();
    model->saveAndApply();
    model.reset();
    QTRY_COMPARE(starts, 2);
    QCOMPARE(time->waitingCount(), std::size_t{2});
    time->pass(3s);
    QCOMPARE(time->waitingCount(), std::size_t{0});
}

void LauncherPrefsModelTest::onTheRealClockSuccessLastsThreeSeconds() {
    LauncherPrefsModel form([] {}, systemTime());
    QElapsedTimer timer;
    timer.start();
    form.saveAndApply();
    QTRY_VERIFY_WITH_TIMEOUT(form.statusLine() != StatusLine::Success, 30'000);
    QVERIFY(timer.elapsed() >= 3000);
}

void LauncherPrefsModelTest::withoutAServiceStartTheProgramEnds() {
    const auto start = [] {};
    QVERIFY(isFatal([&] { LauncherPrefsModel(nullptr, systemTime()); }));
    QVERIFY(isFatal([&] { LauncherPrefsModel(start, nullptr); }));
    QVERIFY(!isFatal([&] { LauncherPrefsModel(start, systemTime()); }));
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::LauncherPrefsModelTest, QCoreApplication)
#include "LauncherPrefsModelTest.moc"

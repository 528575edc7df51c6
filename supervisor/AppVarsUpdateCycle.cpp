#include "AppVars.h"
#include "BackgroundQueue.h"
#include "LibreOfficeInstaller.h"
#include "MainQueue.h"
#include "Updater.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace ferrolt {

namespace {

/// Installed when no manifest names a version.
QString defaultLibreOfficeVersion() {
    return QStringLiteral("26.2.4");
}

// In hours. The manifest may name any number: 2 million hours are 228 years, and the clock overflows at 292.
constexpr std::int64_t minInterval = 1;
constexpr std::int64_t maxInterval = 2'000'000;

}  // namespace

void AppVars::reloadEngine() {
    assertMainThread();
    const std::shared_ptr<Process> old = _lump.get();
    // Implies Stop::None: every stop clears _lump.
    if (!_isLumRunning || !old)
        return;
    setStop(Stop::EngineRestart);
    appendStatusLine(QStringLiteral("LibreOffice installed; restarting Lumora Core so its workers pick up "
                                    "office-document support.\n"),
                     engineChild);
    // Without its handler this intended stop is neither logged as a termination nor treated as a failure.
    old->removeTerminationHandler();
    if (const ObserverToken observer = std::exchange(lumObserver, nullptr))
        observer->detach();
    if (old->isRunning())
        old->terminate();
    _lump.set(nullptr);
    _isLumRunning.set(false);
    awaitOldEngine(old);
}

void AppVars::awaitOldEngine(const std::shared_ptr<Process> &old) {
    // The new engine needs the old one's port.
    const auto wait = [weakSelf = weak_from_this(), old] {
        old->waitUntilExit();
        MainQueue::async([weakSelf] {
            if (const auto self = weakSelf.lock())
                self->onOldEngineExited();
        });
    };
    if (BackgroundQueue::async(QualityOfService::Utility, wait))
        return;
    // The system has no thread at the moment. Try again: without this wait the engine would never restart.
    seams.time->callAfter(std::chrono::milliseconds(250), [weakSelf = weak_from_this(), old] {
        if (const auto self = weakSelf.lock())
            self->awaitOldEngine(old);
    });
}

void AppVars::onOldEngineExited() {
    if (!isOrbixReloadInProgress())
        return;
    setStop(Stop::None);
    startServices();
}

void AppVars::onInstallOutcome(const InstallOutcome &outcome) {
    // "Will retry on the next check" would be wrong: there are no more checks in this run.
    if (isShuttingDown())
        return;
    switch (outcome.which()) {
        case InstallOutcome::Case::Installed:
            reloadEngine();
            break;
        case InstallOutcome::Case::Failed:
            appendStatusLine(QStringLiteral("LibreOffice install skipped: ") + outcome.text() +
                                 QStringLiteral(". Will retry on the next check.\n"),
                             engineChild);
            break;
        case InstallOutcome::Case::AlreadyCurrent:
        case InstallOutcome::Case::SkippedUserInstalled:
            break;
    }
}

void AppVars::scheduleUpdateTimer() {
    assertMainThread();
    const std::chrono::hours interval(std::clamp(updateCheckIntervalHours, minInterval, maxInterval));
    updateTimer = seams.time->startTimer(interval, [weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock())
            self->runUpdateCheck();
    });
}

void AppVars::runUpdateCheck() {
    if (isUpdateCheckInProgress || stop != Stop::None) {
        scheduleUpdateTimer();
        return;
    }
    isUpdateCheckInProgress = true;
    updater->runPeriodicCheck([weakSelf = weak_from_this()](std::optional<std::int64_t> interval) {
        if (const auto self = weakSelf.lock())
            self->onUpdateCheckResult(interval);
    });
}

void AppVars::onUpdateCheckResult(std::optional<std::int64_t> interval) {
    if (interval && *interval >= 1)
        updateCheckIntervalHours = *interval;
    ensureLibreOffice();
    isUpdateCheckInProgress = false;
    scheduleUpdateTimer();
}

void AppVars::ensureLibreOffice() {
    assertMainThread();
    const QString version = updater->_libreOfficeVersion.get().value_or(defaultLibreOfficeVersion());
    const std::weak_ptr<AppVars> weakSelf = weak_from_this();
    // The installer also logs from its work queue. Only the main thread may hold a strong reference: the
    // thread that drops the last one runs the destructor.
    const auto append = [weakSelf](const QString &line) {
        if (const auto self = weakSelf.lock())
            self->appendStatusLine(line, engineChild);
    };
    libreOfficeInstaller->install(
        version,
        [append](const QString &line) {
            if (MainQueue::isMainThread())
                append(line);
            else
                MainQueue::async([append, line] { append(line); });
        },
        [weakSelf](const InstallOutcome &outcome) {
            if (const auto self = weakSelf.lock())
                self->onInstallOutcome(outcome);
        });
}

}  // namespace ferrolt

#include "AppVars.h"
#include "AppVarsChildren.h"
#include "BackgroundQueue.h"
#include "LibreOfficeInstaller.h"
#include "MainQueue.h"
#include "Updater.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace ferrolt {

namespace {

/// What is installed while no manifest asks for anything else.
QString defaultLibreOfficeVersion() {
    return QStringLiteral("26.2.4");
}

// The manifest may name any number; two million hours are 228 years, and a few more would overflow the clock.
constexpr std::int64_t shortestInterval = 1;
constexpr std::int64_t longestInterval = 2'000'000;

}  // namespace

void AppVars::reloadEngine() {
    const std::shared_ptr<Process> old = _lump.get();
    // Only in Stop::None: every stop has taken the engine's process away.
    if (!_isLumRunning || !old)
        return;
    setStop(Stop::EngineRestart);
    appendStatusLine(QStringLiteral("LibreOffice installed; restarting Lumora Core so its workers pick up "
                                    "office-document support.\n"),
                     engineChild);
    // This stop is meant: without its handler it is neither logged as an end nor taken for a failure.
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
    // The system has no thread to spare just now, and without the wait there is no engine again.
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
    // No check follows in this run: "Will retry on the next check" would be wrong.
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

/// One shot, armed anew at the end of every check: so an interval that a check has changed holds from there
/// on.
void AppVars::scheduleUpdateTimer() {
    const std::chrono::hours interval(
        std::clamp(updateCheckIntervalHours, shortestInterval, longestInterval));
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
    const QString version = updater->_libreOfficeVersion.get().value_or(defaultLibreOfficeVersion());
    const std::weak_ptr<AppVars> weakSelf = weak_from_this();
    // The installer's lines come from its work queue too. Only the main thread may hold this object, for
    // whoever lets go of it last destroys it.
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

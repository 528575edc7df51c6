#include "LibreOfficeInstaller.h"

#include "InstallJob.h"
#include "MainQueue.h"
#include "StagingFolder.h"

#include <atomic>
#include <chrono>
#include <optional>
#include <system_error>
#include <utility>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

// Allows one installation at a time in the process. Needs no lock: main thread only.
bool installing = false;

}  // namespace

const QString LibreOfficeInstaller::versionKey = QStringLiteral("InstalledLibreOfficeVersion");

/// Shared with the running installation, which may outlive the installer.
struct LibreOfficeInstaller::State {
    State(Services services, std::weak_ptr<InstallProgress> progress)
        : services(std::move(services)), progress(std::move(progress)) {}

    Services services;
    std::weak_ptr<InstallProgress> progress;
    bool hasRemovedAbandoned = false;
    std::atomic<bool> isStopped = false;  ///< set on the main thread, also read on the work queue
    /// An installed version that could not be written to the settings. Without it, on a full disk, every
    /// check would download again, ask for the password and restart the engine.
    std::optional<QString> unwritten;

    void record(const QString &version) {
        if (services.settings->setText(versionKey, version))
            unwritten.reset();
        else
            unwritten = version;
    }
    std::optional<QString> recorded() {
        if (const auto version = unwritten)
            record(*version);  // the disk may have space again
        if (unwritten)
            return unwritten;
        // A read that fails for a moment, as for lack of a descriptor, looks like no version. An old
        // application would then be recorded as the wanted version, and never be replaced by it.
        const auto version = services.settings->text(versionKey);
        return version ? version : services.settings->text(versionKey);
    }
};

LibreOfficeInstaller::Services::Services() {
    http.requestTimeout = std::chrono::seconds(30);
    http.resourceTimeout = std::chrono::seconds(900);
}

LibreOfficeInstaller::LibreOfficeInstaller(Services services)
    : workQueue(services.workQueue),
      progress(std::make_shared<InstallProgress>()),
      state(std::make_shared<State>(std::move(services), progress)) {
    assertMainThread();
    const Services &given = state->services;
    Q_ASSERT(given.settings && given.tools && given.privilegedCopy && given.workQueue);
}

LibreOfficeInstaller::~LibreOfficeInstaller() {
    assertMainThread();
}

void LibreOfficeInstaller::stop() {
    assertMainThread();
    state->isStopped = true;
}

bool LibreOfficeInstaller::isInstalling() {
    assertMainThread();
    return installing;
}

void LibreOfficeInstaller::install(const QString &version, Log log, Completion completion) {
    if (!log)
        log = [](const QString &) {};
    MainQueue::async(
        [weak = std::weak_ptr(state), version, log = std::move(log), completion = std::move(completion)] {
            if (const auto installer = weak.lock())
                gate(installer, version, log, completion);
        });
}

void LibreOfficeInstaller::gate(const std::shared_ptr<State> &state, const QString &version, const Log &log,
                                const Completion &completion) {
    assertMainThread();
    const auto finish = [&](const InstallOutcome &outcome) {
        if (completion)
            completion(outcome);
    };
    if (installing)
        return finish(
            InstallOutcome::failed(QStringLiteral("another LibreOffice install is already running")));
    if (state->isStopped)
        return finish(InstallJob::authorizationDenied());
    const bool hasThread = removeAbandonedFolders(*state);

    const Services &services = state->services;
    std::error_code unreadable;
    const bool isPresent = fs::exists(services.application, unreadable);
    const std::optional<QString> recorded = state->recorded();
    if (recorded && isPresent) {
        if (*recorded == version)
            return finish(InstallOutcome::alreadyCurrent());
        // Versions have no order: any difference counts as an upgrade, a lower number too.
        log(QStringLiteral("LibreOffice ") + *recorded + QStringLiteral(" found; upgrading to ") + version +
            QStringLiteral(".\n"));
    } else if (isPresent) {
        log(QStringLiteral(
            "LibreOffice is already installed (not by this launcher); leaving it in place.\n"));
        // Deliberate: from now on the copy counts as the launcher's. It is current while the wanted version
        // stays the same, and replaced when that changes.
        state->record(version);
        return finish(InstallOutcome::skippedUserInstalled());
    }

    installing = true;
    const bool isStarted = hasThread && services.workQueue->async([state, version, log, completion] {
        const auto report = [weak = state->progress](const InstallProgress::Status &status) {
            MainQueue::async([weak, status] {
                if (const auto receiver = weak.lock())
                    receiver->set(status);
            });
        };
        const InstallOutcome outcome =
            InstallJob(state->services, version, log, report, state->isStopped).run();
        report({});
        MainQueue::async([state, outcome, completion] { deliver(*state, outcome, completion); });
    });
    if (!isStarted)
        deliver(*state,
                InstallOutcome::failed(
                    QStringLiteral("could not create staging directory: ") +
                    QString::fromLocal8Bit(
                        std::make_error_code(std::errc::resource_unavailable_try_again).message())),
                completion);
}

void LibreOfficeInstaller::deliver(State &state, const InstallOutcome &outcome,
                                   const Completion &completion) {
    assertMainThread();
    installing = false;
    if (outcome.which() == InstallOutcome::Case::Installed)
        state.record(outcome.text());
    if (completion)
        completion(outcome);
}

/// Once per process, on the work queue before the first installation: detaches and removes the staging
/// folders that killed processes have left behind. False when the system has no thread for the queue.
bool LibreOfficeInstaller::removeAbandonedFolders(State &state) {
    if (state.hasRemovedAbandoned)
        return true;
    state.hasRemovedAbandoned = state.services.workQueue->async(
        [tools = state.services.tools, temporaryFolder = state.services.temporaryFolder] {
            std::error_code unreadable;
            for (const StagingFolder &folder : StagingFolder::abandoned(temporaryFolder))
                if (fs::exists(folder.mountPoint(), unreadable))
                    InstallJob::detachImage(*tools, folder.mountPoint());
        });
    return state.hasRemovedAbandoned;
}

}  // namespace ferrolt

#include "LibreOfficeInstaller.h"

#include "LibreOfficeInstallation.h"
#include "MainQueue.h"
#include "ServerAddresses.h"
#include "StagingFolder.h"

#include <QDir>

#include <atomic>
#include <chrono>
#include <optional>
#include <system_error>
#include <utility>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

// Main thread only, which is all the lock it needs: one installation at a time in the process, whoever asks
// for it.
bool installing = false;

bool isThere(const fs::path &path) {
    std::error_code failure;
    return fs::exists(path, failure);
}

}  // namespace

const QString LibreOfficeInstaller::versionKey = QStringLiteral("InstalledLibreOfficeVersion");

/// Shared with the work that is under way, which may outlive the installer.
struct LibreOfficeInstaller::State {
    State(Services services, std::weak_ptr<InstallProgress> progress)
        : services(std::move(services)), progress(std::move(progress)) {}

    Services services;
    std::weak_ptr<InstallProgress> progress;
    bool hasSwept = false;
    std::atomic<bool> isStopped = false;  ///< set on the main thread, read on the work queue too
    /// A version that counts as installed and that the settings did not take. Without it every check on a
    /// full disk would download, ask for the password and restart the engine once more.
    std::optional<QString> unwritten;

    void record(const QString &version) {
        if (services.settings->setText(versionKey, version))
            unwritten.reset();
        else
            unwritten = version;
    }
    std::optional<QString> recorded() {
        if (const auto version = unwritten)
            record(*version);  // there may be room again
        return unwritten ? unwritten : services.settings->text(versionKey);
    }
};

LibreOfficeInstaller::Services::Services()
    : server(ServerAddresses().libreOfficeServer),
      application("/Applications/LibreOffice.app"),
      temporaryFolder(QDir::tempPath().toStdString()),
      settings(SettingsStore::ofUser()),
      tools(systemToolRunner()),
      privilegedCopy(systemPrivilegedCopy()) {
    http.requestTimeout = std::chrono::seconds(30);
    http.resourceTimeout = std::chrono::seconds(900);
}

LibreOfficeInstaller::LibreOfficeInstaller(Services services)
    : workQueue(services.workQueue),
      progress(std::make_shared<InstallProgress>()),
      state(std::make_shared<State>(std::move(services), progress)) {}

LibreOfficeInstaller::~LibreOfficeInstaller() = default;

void LibreOfficeInstaller::stop() {
    state->isStopped = true;
}

bool LibreOfficeInstaller::isInstalling() {
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

void LibreOfficeInstaller::gate(const std::shared_ptr<State> &state, const QString &version, Log log,
                                Completion completion) {
    const auto finish = [&](const InstallOutcome &outcome) {
        if (completion)
            completion(outcome);
    };
    if (installing)
        return finish(
            InstallOutcome::failed(QStringLiteral("another LibreOffice install is already running")));
    if (state->isStopped)
        return finish(LibreOfficeInstallation::authorizationDenied());
    const bool isSwept = sweep(*state);

    const Services &services = state->services;
    const bool isPresent = isThere(services.application);
    const std::optional<QString> recorded = state->recorded();
    if (recorded && isPresent) {
        if (*recorded == version)
            return finish(InstallOutcome::alreadyCurrent());
        // Any difference is an upgrade, also to a lower number: versions have no order here.
        log(QStringLiteral("LibreOffice ") + *recorded + QStringLiteral(" found; upgrading to ") + version +
            QStringLiteral(".\n"));
    } else if (isPresent) {
        log(QStringLiteral(
            "LibreOffice is already installed (not by this launcher); leaving it in place.\n"));
        // From now on it counts as ours: it is current while the wanted version stays, and replaced when that
        // changes.
        state->record(version);
        return finish(InstallOutcome::skippedUserInstalled());
    }

    installing = true;
    const bool isUnderWay = isSwept && services.workQueue->async([state, version, log, completion] {
        const auto tell = [weak = state->progress](const InstallProgress::Facts &facts) {
            MainQueue::async([weak, facts] {
                if (const auto shown = weak.lock())
                    shown->set(facts);
            });
        };
        const InstallOutcome outcome =
            LibreOfficeInstallation(state->services, version, log, tell, state->isStopped).run();
        tell({});
        MainQueue::async([state, outcome, completion] { deliver(*state, outcome, completion); });
    });
    if (!isUnderWay)
        deliver(*state,
                InstallOutcome::failed(
                    QStringLiteral("could not create staging directory: ") +
                    QString::fromLocal8Bit(
                        std::make_error_code(std::errc::resource_unavailable_try_again).message())),
                completion);
}

void LibreOfficeInstaller::deliver(State &state, const InstallOutcome &outcome,
                                   const Completion &completion) {
    installing = false;
    if (outcome.which() == InstallOutcome::Case::Installed)
        state.record(outcome.text());
    if (completion)
        completion(outcome);
}

/// Once in a run, before the first installation: what an earlier run that ended in the middle has left
/// behind.
bool LibreOfficeInstaller::sweep(State &state) {
    if (state.hasSwept)
        return true;
    state.hasSwept = state.services.workQueue->async(
        [tools = state.services.tools, temporaryFolder = state.services.temporaryFolder] {
            for (const StagingFolder &left : StagingFolder::abandoned(temporaryFolder))
                if (isThere(left.mountPoint()))
                    LibreOfficeInstallation::detachImage(*tools, left.mountPoint());
        });
    return state.hasSwept;
}

}  // namespace ferrolt

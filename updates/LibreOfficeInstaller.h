#pragma once

#include "HttpSession.h"
#include "InstallOutcome.h"
#include "InstallProgress.h"
#include "PrivilegedCopy.h"
#include "SettingsStore.h"
#include "ToolRunner.h"
#include "WorkQueue.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>

namespace ferrolt {

/// Keeps /Applications/LibreOffice.app, from which the engine's workers take their office-document support,
/// at the version that is asked for. A copy that the user installed without this launcher is not touched.
///
/// States, of the whole process: idle --install(), when there is something to do--> installing --its outcome
/// is being delivered--> idle. A failed installation leaves an application that was there in place.
class LibreOfficeInstaller {
  public:
    /// A finished line, with its line break.
    using Log = std::function<void(const QString &line)>;
    using Completion = std::function<void(const InstallOutcome &outcome)>;

    /// What the installer works with. A default-constructed value is the production one but for the work
    /// queue.
    struct Services {
        Services();

        QString server;          ///< the LibreOffice download server's base URL
        HttpConfiguration http;  ///< of the session that one installation uses for all its requests
        std::filesystem::path application;  ///< where it is installed
        std::filesystem::path temporaryFolder;
        std::shared_ptr<SettingsStore> settings;
        std::shared_ptr<ToolRunner> tools;
        std::shared_ptr<PrivilegedCopy> privilegedCopy;
        std::shared_ptr<WorkQueue> workQueue;  ///< serial, of utility priority; the slow work runs on it
    };

    /// The version that is installed, or counts as installed, by this launcher.
    static const QString versionKey;  // "InstalledLibreOfficeVersion"

    /// Main thread, and so is the destructor. An installation that is under way when the object goes runs to
    /// its end, and is recorded.
    explicit LibreOfficeInstaller(Services services);
    ~LibreOfficeInstaller();
    LibreOfficeInstaller(const LibreOfficeInstaller &) = delete;
    LibreOfficeInstaller &operator=(const LibreOfficeInstaller &) = delete;

    /// Brings LibreOffice to exactly `version`. Returns at once, any thread. `log` is called on the main
    /// thread before there is slow work and on the work queue from then on. `completion` is called once, on
    /// the main thread, never inside this call; not at all if the object goes before the main thread has
    /// looked at the request.
    void install(const QString &version, Log log, Completion completion = {});

    /// The launcher is stopping: from here on no installation begins, and one that is under way fails before
    /// it would ask for the user's password; a prompt that is already shown is left to the user. Both count
    /// as a refused authorization. For good. Main thread.
    void stop();

    /// Whether an installation is under way in this process. Main thread.
    static bool isInstalling();

    const std::shared_ptr<WorkQueue> workQueue;
    const std::shared_ptr<InstallProgress> progress;

  private:
    struct State;

    static void gate(const std::shared_ptr<State> &state, const QString &version, Log log,
                     Completion completion);
    static void deliver(State &state, const InstallOutcome &outcome, const Completion &completion);
    static bool sweep(State &state);

    std::shared_ptr<State> state;
};

}  // namespace ferrolt

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

/// Keeps /Applications/LibreOffice.app, which gives the engine's workers their office-document support, at
/// the wanted version. A copy that the user installed without this launcher is not touched, except that it
/// counts as the launcher's own from then on: see gate().
///
/// States, one for the whole process: idle --install() finds work to do--> installing --the outcome is about
/// to be delivered--> idle. A failed installation leaves an existing application in place.
class LibreOfficeInstaller {
  public:
    /// Receives one line that ends in "\n".
    using Log = std::function<void(const QString &line)>;
    using Completion = std::function<void(const InstallOutcome &outcome)>;

    /// Its user sets every field; `http` has the timeouts already.
    struct Services {
        Services();

        QString server;                     ///< the LibreOffice download server's base URL
        HttpConfiguration http;             ///< one session with it does all requests of an installation
        std::filesystem::path application;  ///< the installed application's path
        std::filesystem::path temporaryFolder;
        std::shared_ptr<SettingsStore> settings;
        std::shared_ptr<ToolRunner> tools;
        std::shared_ptr<PrivilegedCopy> privilegedCopy;
        std::shared_ptr<WorkQueue> workQueue;  ///< for InstallJob; utility priority
    };

    /// The settings key of the version that this launcher installed, or counts as its own.
    static const QString versionKey;  // "InstalledLibreOfficeVersion"

    /// Constructor and destructor: main thread. No pointer in `services` may be null. An installation that
    /// is running when the object is destroyed continues, and its version is recorded.
    explicit LibreOfficeInstaller(Services services);
    ~LibreOfficeInstaller();
    LibreOfficeInstaller(const LibreOfficeInstaller &) = delete;
    LibreOfficeInstaller &operator=(const LibreOfficeInstaller &) = delete;

    /// Brings LibreOffice to exactly `version`. Returns at once; any thread. `log` is called on the main
    /// thread by gate() and on the work queue by InstallJob. `completion` is called once, on the main thread,
    /// never inside this call; never when the object is destroyed before gate() runs.
    void install(const QString &version, Log log, Completion completion = {});

    /// The launcher stops: no installation starts any more, and a running one fails instead of asking for the
    /// password. Both give the outcome of a refused authorisation. A prompt that is already open stays.
    /// Cannot be undone. Main thread.
    void stop();

    /// Whether an installation is running in this process. Main thread.
    static bool isInstalling();

    const std::shared_ptr<WorkQueue> workQueue;
    const std::shared_ptr<InstallProgress> progress;

  private:
    struct State;

    /// Decides on the main thread whether there is anything to install.
    static void gate(const std::shared_ptr<State> &state, const QString &version, const Log &log,
                     const Completion &completion);
    static void deliver(State &state, const InstallOutcome &outcome, const Completion &completion);
    static bool removeAbandonedFolders(State &state);

    std::shared_ptr<State> state;
};

}  // namespace ferrolt

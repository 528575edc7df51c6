#pragma once

#include "LogBuffer.h"
#include "OutputReader.h"
#include "Process.h"
#include "Published.h"
#include "Seams.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ferrolt {

class InstallOutcome;
class Updater;
class LibreOfficeInstaller;

/// Selects one of the two log buffers.
enum class LogTarget { Lumora, QorClient };

/// The launcher's single observable state, and the supervisor of its two children: the Lumora Core engine and
/// the Qor Client. One lives for the whole run, owned by the application.
///
/// Main thread only. What other threads, timers and notifications hold of it is weak. `objectWillChange`
/// comes on the main thread before every change of a field whose name has a leading underscore, and says what
/// is to change: a child's output comes a thousand times a second, and is nothing to those who show its
/// state.
///
/// What runs: nothing, until startServices(); then the engine (_isLumRunning), while the client waits for its
/// identity or, for at most 30 seconds, for the engine's port (isAwaitingOrbixPort); then both
/// (_isQorClientRunning). What may be started is decided by `stop` alone: who asked for the current stop.
///
///   stop           asked for by                  engine  client  check or installation
///   None           nobody                        yes     yes     yes
///   EngineRestart  an installed LibreOffice      no      yes     yes, but the timer's tick is put off
///   ChildEnded     a child that ended by itself  no      no      no
///   FatalError     a start that failed           no      no      no
///   Quit           the user or the session       no      no      no
///
/// Transitions: None -> EngineRestart by reloadEngine(), and back when the old engine has ended. None or
/// EngineRestart -> ChildEnded, FatalError or Quit; the first of these three to come stays for good.
/// _isPermanentlyStopped is true exactly in ChildEnded.
///
/// The implementation is one file for each concern: AppVars.cpp (state and log rule), AppVarsStart.cpp (start
/// sequence), AppVarsTermination.cpp (termination and stop), AppVarsUpdateCycle.cpp (reload and updates).
class AppVars : public QObject, public std::enable_shared_from_this<AppVars> {
    Q_OBJECT

  public:
    /// The tab identifiers, "home" and "settings".
    static const QString homeTab;
    static const QString settingsTab;

    /// `State` is every field but the logs.
    enum class Change { State, LumoraLog, QorClientLog };

    /// To be owned by a std::shared_ptr, which the weak references need. Roots the path resolvers at the
    /// seams' paths and reads the client configuration once, for the initial tab.
    explicit AppVars(Seams seams);
    ~AppVars() override;

    // The fields, in the order in which they are initialised.
    const std::unique_ptr<Updater> updater;
    const std::unique_ptr<LibreOfficeInstaller> libreOfficeInstaller;

    const LogBuffer &lumoraLog() const { return _lumoraLog; }
    const LogBuffer &qorClientLog() const { return _qorClientLog; }

    Published<std::shared_ptr<Process>, AppVars> _lump;
    Published<std::shared_ptr<Process>, AppVars> _qorcp;
    Published<bool, AppVars> _isLumRunning;
    Published<bool, AppVars> _isQorClientRunning;
    Published<bool, AppVars> _isPermanentlyStopped;
    Published<std::optional<QString>, AppVars> _selectedTab;

    static constexpr std::int64_t maxLogLines = 1000;

    /// Appends `text` as one element, unsplit, and keeps the newest 1000. Every message and every chunk of
    /// output enters a buffer here; a message carries its own line break. An empty text is dropped.
    void appendLog(LogElement text, LogTarget buffer);
    /// The same for elements that arrived together: one announcement for all of them.
    void appendLog(std::vector<LogElement> texts, LogTarget buffer);

    void selectTab(const QString &tab);

    /// Starts what does not run yet: the engine, then, once its port is open or 30 seconds have passed, the
    /// client, if the identity is complete. Does nothing after any stop, nor while the engine is being
    /// restarted: the end of that restart calls this again. A failure ends in fatalError().
    void startServices();
    /// One wait at a time; its result comes as onEnginePortResult().
    void awaitEnginePort();

    /// The application quits. Sends both children the terminate request and forgets them, without waiting for
    /// either. For good: from here on nothing is started or installed, and no child's end is a failure. An
    /// installation that is under way asks for no password any more. After another stop a repetition.
    void stopAll();

    /// Restarts the engine alone, so that it takes up a new LibreOffice; the client runs on. Does nothing
    /// while a reload is under way, while the engine is down, and after the permanent stop.
    void reloadEngine();
    /// Arms the update timer anew: one check, updateCheckIntervalHours from now. Every check ends by calling
    /// this.
    void scheduleUpdateTimer();
    /// Asks for the LibreOffice version that the manifest names. Progress and failure come in the engine's
    /// log. Does nothing after any stop but the engine's restart.
    void ensureLibreOffice();

  Q_SIGNALS:
    void objectWillChange(Change change);

  private:
    template <class Value, class Owner>
    friend class Published;
    void announceChange() { Q_EMIT objectWillChange(Change::State); }

    /// Who asked for the current stop; see the table above.
    enum class Stop { None, EngineRestart, ChildEnded, FatalError, Quit };
    void setStop(Stop next);
    bool isOrbixReloadInProgress() const { return stop == Stop::EngineRestart; }
    /// Stopped for good: nothing is started again in this run.
    bool isShuttingDown() const { return stop > Stop::EngineRestart; }

    struct Child;
    static const Child engineChild;
    static const Child clientChild;

    /// Appends a line of the launcher's own to the child's log, after all output that arrived before.
    void appendStatusLine(const QString &line, const Child &child);

    void startEngine(const std::filesystem::path &binFolder, const std::filesystem::path &executablePath);
    void startClient(const std::filesystem::path &workingFolder, const std::filesystem::path &executablePath);
    /// Nothing when it runs; else what fatalError() is to say.
    std::optional<LaunchError> launchChild(const Child &child, const std::filesystem::path &executablePath,
                                           const std::filesystem::path &workingFolder,
                                           std::vector<std::string> arguments);
    /// One wait for the port, until the deadline on the time seam's clock.
    void probeEnginePort(std::int64_t port, TimeSource::Duration deadline);
    void onEnginePortResult(bool reachable, const std::string &host, std::int64_t port,
                            TimeSource::Duration timeout);
    void fatalError(const QString &message);

    void onChildTerminated(const Child &child, Process::Status status);

    void awaitOldEngine(const std::shared_ptr<Process> &old);
    void onOldEngineExited();
    void onInstallOutcome(const InstallOutcome &outcome);
    void runUpdateCheck();
    void onUpdateCheckResult(std::optional<std::int64_t> interval);

    LogBuffer _lumoraLog;
    LogBuffer _qorClientLog;

    QMetaObject::Connection cancellable;
    ObserverToken lumObserver;
    ObserverToken jcObserver;
    Stop stop = Stop::None;
    std::unique_ptr<Timer> updateTimer;
    std::int64_t updateCheckIntervalHours = 1;
    bool isUpdateCheckInProgress = false;
    bool isAwaitingOrbixPort = false;

    Seams seams;
};

}  // namespace ferrolt

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
/// the Qor Client. The application owns one for the whole run.
///
/// Main thread only. Work on other threads, timers and callbacks hold it weakly. `objectWillChange` is
/// emitted before every change of a field with a leading underscore and names the kind of change: a child's
/// output can arrive a thousand times a second, and views of the state ignore it.
///
/// Start sequence: startServices() starts the engine (_isLumRunning). The client is started when the identity
/// is complete and the engine's port is open, or after 30 seconds (isAwaitingOrbixPort); then both run
/// (_isQorClientRunning). Only `stop`, the cause of the current stop, decides what may start:
///
///   stop           cause                         engine  client  check or installation
///   None           nobody                        yes     yes     yes
///   EngineRestart  an installed LibreOffice      no      yes     yes, but the timer's tick is put off
///   ChildEnded     a child that ended by itself  no      no      no
///   FatalError     a start that failed           no      no      no
///   Quit           the user or the session       no      no      no
///
/// Transitions: None -> EngineRestart by reloadEngine(), back to None when the old engine has ended. None or
/// EngineRestart -> ChildEnded, FatalError or Quit; the first of these three is final. _isPermanentlyStopped
/// is true exactly in ChildEnded.
///
/// One source file per concern: AppVars.cpp (state and logs), AppVarsStart.cpp (start sequence),
/// AppVarsTermination.cpp (termination and stop), AppVarsUpdateCycle.cpp (engine restart and updates).
class AppVars : public QObject, public std::enable_shared_from_this<AppVars> {
    Q_OBJECT

  public:
    /// The tab identifiers, "home" and "settings".
    static const QString homeTab;
    static const QString settingsTab;

    /// `State` stands for every field but the two logs.
    enum class Change { State, LumoraLog, QorClientLog };

    /// Must be owned by a std::shared_ptr, for the weak references. Hands the seams' paths to the path
    /// resolvers and reads the client configuration, for the initial tab.
    explicit AppVars(Seams seams);
    ~AppVars() override;

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
    void appendLog(LogElement text, LogTarget target);
    /// The same for elements that arrived together: one announcement for all of them.
    void appendLog(std::vector<LogElement> texts, LogTarget target);

    void selectTab(const QString &tab);

    /// Starts the children that do not run: the engine, then, when the identity is complete, the client, once
    /// the engine's port is open or 30 seconds have passed. Does nothing unless `stop` is None; the end of an
    /// engine restart calls it again. A failure ends in fatalError().
    void startServices();
    /// Waits in the background, then calls onEnginePortResult(). Does nothing during such a wait, when the
    /// client runs and after a final stop.
    void awaitEnginePort();

    /// The application quits, or a final stop has begun. Sends both children the terminate request, drops
    /// them and returns without waiting. From now on nothing is started or installed, and a child's end is no
    /// failure; a running installation no longer asks for the password. A second call does nothing more.
    void stopAll();

    /// Restarts the engine alone, so that it finds a new LibreOffice; the client keeps running. Does nothing
    /// during another restart, without a running engine and after a final stop.
    void reloadEngine();
    bool isOrbixReloadInProgress() const { return stop == Stop::EngineRestart; }
    /// Restarts the one-shot update timer: one check, updateCheckIntervalHours from now. Every check ends
    /// with a call of this, so that a changed interval holds from there on.
    void scheduleUpdateTimer();
    /// Installs the LibreOffice version that the manifest names, or the default one. Progress and failure
    /// appear in the engine's log. Does nothing after a final stop.
    void ensureLibreOffice();

  Q_SIGNALS:
    void objectWillChange(Change change);

  private:
    template <class Value, class Owner>
    friend class Published;
    void announceChange() { Q_EMIT objectWillChange(Change::State); }

    /// The cause of the current stop; see the table above. From ChildEnded on a stop is final.
    enum class Stop { None, EngineRestart, ChildEnded, FatalError, Quit };
    void setStop(Stop next);
    /// After a final stop nothing is started again in this run.
    bool isShuttingDown() const { return stop > Stop::EngineRestart; }

    /// The supervisor's view of one child: everything in which the two differ.
    struct Child {
        QString name;
        LogTarget log;
        Published<std::shared_ptr<Process>, AppVars> AppVars::*process;
        Published<bool, AppVars> AppVars::*isRunning;
        ObserverToken AppVars::*observer;
    };
    static const Child engineChild;
    static const Child clientChild;

    /// Appends a line of the launcher's own to the child's log, after all output that arrived before.
    void appendStatusLine(const QString &line, const Child &child);

    void startEngine(const std::filesystem::path &binFolder, const std::filesystem::path &executablePath);
    void startClient(const std::filesystem::path &workingFolder, const std::filesystem::path &executablePath);
    /// Nothing when the child runs; else the error for fatalError().
    std::optional<LaunchError> launchChild(const Child &child, const std::filesystem::path &executablePath,
                                           const std::filesystem::path &workingFolder,
                                           std::vector<std::string> arguments);
    /// Waits for the port until `deadline` on the time seam's clock.
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

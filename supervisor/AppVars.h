#pragma once

#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "LogBuffer.h"
#include "OutputReader.h"
#include "Process.h"
#include "Published.h"
#include "Seams.h"

namespace ferrolt {

class Updater;
class LibreOfficeInstaller;

/// Selects one of the two log buffers.
enum class LogTarget { Lumora, QorClient };

/// The launcher's single observable state, and the supervisor of its two children: the Lumora Core engine and
/// the Qor Client. One lives for the whole run, owned by the application.
///
/// Main thread only. What other threads, timers and notifications hold of it is weak. `objectWillChange` comes
/// on the main thread before every change of a field whose name has a leading underscore.
///
/// States:
///   idle              nothing was started yet; left by startServices()
///   engine running    _isLumRunning; the client waits for its identity or for the engine's port
///   awaiting port     isAwaitingOrbixPort as well, for at most 30 seconds
///   both running      _isQorClientRunning as well
///   reloading         isOrbixReloadInProgress: the engine alone is being restarted
///   shutting down     isShuttingDown, set by stopAll(); never left
///   permanently stopped  _isPermanentlyStopped, set when a child ended by itself; never left
class AppVars : public QObject, public std::enable_shared_from_this<AppVars> {
    Q_OBJECT

  public:
    /// The tab identifiers.
    static const QString homeTab;      // "home"
    static const QString settingsTab;  // "settings"

    /// To be owned by a std::shared_ptr, which the weak references need. Reads the client configuration once,
    /// for the initial tab.
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

    /// Appends `text` (UTF-8) as one element, unsplit, and keeps the newest 1000. Every message and every chunk of output
    /// enters a buffer here. An empty text is dropped.
    void appendLog(LogElement text, LogTarget buffer);
    /// The same for several elements that arrived together: one announcement for all of them.
    void appendLog(std::vector<LogElement> texts, LogTarget buffer);

    void selectTab(const QString &tab);

    // The start sequence.
    void startServices();
    void awaitEnginePort();

    // Termination.
    void stopAll();

    // The reload and update cycle.
    void reloadEngine();
    void scheduleUpdateTimer();
    void ensureLibreOffice();

  Q_SIGNALS:
    void objectWillChange();

  private:
    template <class Value, class Owner>
    friend class Published;
    void announceChange() { Q_EMIT objectWillChange(); }

    LogBuffer _lumoraLog;
    LogBuffer _qorClientLog;
    Seams seams;
};

}  // namespace ferrolt

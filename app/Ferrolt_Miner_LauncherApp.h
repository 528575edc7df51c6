#pragma once

#include "AppDelegate.h"
#include "AppVars.h"

#include <QObject>

#include <cstdint>
#include <memory>

namespace ferrolt {

/// The program: creates the one AppVars that lives for the whole run, starts the update check and, once that
/// has completed, the services; shows the alert about a missing identity. Main thread.
///
/// States: created --the update check completes--> services requested; there is no way back. Under a
/// unit-test host nothing is ever started.
class Ferrolt_Miner_LauncherApp : public QObject {
    Q_OBJECT

  public:
    /// Needs the application object. Everything that is started here runs asynchronously.
    explicit Ferrolt_Miner_LauncherApp(Seams seams);

    AppDelegate &appDelegate() { return _appDelegate; }
    const std::shared_ptr<AppVars> &appVars() const { return _av; }

    /// The missing-identity check, to be run each time that the window's content appears.
    void windowContentAppeared();

  private:
    void startServicesOnceChecked();

    AppDelegate _appDelegate;
    std::shared_ptr<AppVars> _av;
    std::shared_ptr<TimeSource> time;
    std::shared_ptr<AlertPresenter> alerts;
    /// Part of the type's state, which nothing reads or changes.
    [[maybe_unused]] std::int64_t _retries = 0;
    bool _showAlert = false;
};

}  // namespace ferrolt

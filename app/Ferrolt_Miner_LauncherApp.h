#pragma once

#include "AppDelegate.h"
#include "AppVars.h"

#include <QObject>

#include <cstdint>
#include <memory>

namespace ferrolt {

/// The program: creates the one AppVars, which lives until the program ends; starts the update check and,
/// when that has completed, the services; shows the alert about a missing identity. Main thread.
///
/// States: created --the update check completes--> services requested, for good. In a unit-test host nothing
/// is started.
class Ferrolt_Miner_LauncherApp : public QObject {
    Q_OBJECT

  public:
    /// Needs the application object. All that this starts runs asynchronously.
    explicit Ferrolt_Miner_LauncherApp(Seams seams);

    AppDelegate &appDelegate() { return _appDelegate; }
    const std::shared_ptr<AppVars> &appVars() const { return _av; }

    /// Checks the identity. To be called each time that the window's content appears.
    void windowContentAppeared();

  private:
    void startServicesOnceChecked();

    AppDelegate _appDelegate;
    std::shared_ptr<AppVars> _av;
    std::shared_ptr<TimeSource> time;
    std::shared_ptr<AlertPresenter> alerts;
    /// Declared state that nothing reads or changes.
    [[maybe_unused]] std::int64_t _retries = 0;
    bool _showAlert = false;
};

}  // namespace ferrolt

#include "Ferrolt_Miner_LauncherApp.h"

#include "ClassLookup.h"
#include "MainQueue.h"
#include "MinerIdentity.h"
#include "Updater.h"

#include <QPointer>

#include <chrono>
#include <utility>

namespace ferrolt {

using namespace std::chrono_literals;

Ferrolt_Miner_LauncherApp::Ferrolt_Miner_LauncherApp(Seams seams) : time(seams.time), alerts(seams.alerts) {
    _av = std::make_shared<AppVars>(std::move(seams));
    _appDelegate.appVars = _av;
    // A test runner that hosts the application wants its types, not two running programs.
    if (isClassPresent("XCTestCase"))
        return;
    _av->updater->runInitialCheck();
    MainQueue::async([self = QPointer(this)] {
        if (self)
            self->startServicesOnceChecked();
    });
}

/// Tested every 200 milliseconds and without limit: a launcher that started its services beside a check that
/// still runs could start an engine that the check is about to replace.
void Ferrolt_Miner_LauncherApp::startServicesOnceChecked() {
    if (!_av->updater->_isUpdateCheckComplete) {
        time->callAfter(200ms, [self = QPointer(this)] {
            if (self)
                self->startServicesOnceChecked();
        });
        return;
    }
    _av->startServices();
    _av->ensureLibreOffice();
    _av->scheduleUpdateTimer();
}

void Ferrolt_Miner_LauncherApp::windowContentAppeared() {
    if (isIdentityComplete() || std::exchange(_showAlert, true))
        return;
    alerts->present(
        {.style = AlertStyle::Informational,
         .messageText = QStringLiteral("Ferrolt Miner Missing Info"),
         .informativeText = QStringLiteral("You must provide an E-Mail address\nand User/Company name "
                                           "(must contain a space)\nbefore the miner will do any work."),
         .button = QStringLiteral("OK")},
        [self = QPointer(this)] {
            if (self)
                self->_showAlert = false;
        });
}

}  // namespace ferrolt

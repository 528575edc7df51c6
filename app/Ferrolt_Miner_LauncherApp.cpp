#include "Ferrolt_Miner_LauncherApp.h"

#include "LoadProps.h"
#include "MainQueue.h"
#include "Updater.h"

#include <QPointer>

#include <chrono>
#include <utility>

#include <dlfcn.h>

namespace ferrolt {

using namespace std::chrono_literals;

namespace {

/// A test runner that loads the application wants its types, not two running programs. Its process has the
/// class XCTestCase; the first name is the one that Objective-C exports a class by.
bool isUnitTestHost() {
    return dlsym(RTLD_DEFAULT, "OBJC_CLASS_$_XCTestCase") != nullptr ||
           dlsym(RTLD_DEFAULT, "XCTestCase") != nullptr;
}

}  // namespace

Ferrolt_Miner_LauncherApp::Ferrolt_Miner_LauncherApp(Seams seams) : time(seams.time), alerts(seams.alerts) {
    assertMainThread();
    _av = std::make_shared<AppVars>(std::move(seams));
    _appDelegate.appVars = _av;
    if (isUnitTestHost())
        return;
    _av->updater->runInitialCheck();
    MainQueue::async([self = QPointer(this)] {
        if (self)
            self->startServicesOnceChecked();
    });
}

/// Polls every 200 milliseconds, without an upper bound. Services that start while a check still runs could
/// start an engine that the check is about to replace.
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
    assertMainThread();
    if (LoadProps::isIdentityComplete() || std::exchange(_showAlert, true))
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

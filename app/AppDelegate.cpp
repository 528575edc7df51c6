#include "AppDelegate.h"

#include "AppVars.h"
#include "MainQueue.h"
#include "MinerIdentity.h"

namespace ferrolt {

void AppDelegate::applicationDidFinishLaunching() {
    if (isIdentityComplete()) {
        if (firstWindow)
            firstWindow->close();
        return;
    }
    // Queued on purpose: the tab is chosen after this callback has returned and the window is up.
    MainQueue::async([weakVars = std::weak_ptr(appVars)] {
        if (const auto vars = weakVars.lock())
            vars->selectTab(AppVars::settingsTab);
    });
    makeKeyAndOrderFront();
}

void AppDelegate::applicationWillTerminate() {
    if (appVars)
        appVars->stopAll();
}

bool AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows) {
    if (!hasVisibleWindows)
        makeKeyAndOrderFront();
    return true;
}

void AppDelegate::makeKeyAndOrderFront() {
    if (!firstWindow)
        return;
    firstWindow->show();
    firstWindow->raise();
    firstWindow->activateWindow();
}

}  // namespace ferrolt

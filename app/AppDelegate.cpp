#include "AppDelegate.h"

#include "AppVars.h"
#include "LoadProps.h"
#include "MainQueue.h"

namespace ferrolt {

void AppDelegate::applicationDidFinishLaunching() {
    assertMainThread();
    if (LoadProps::isIdentityComplete()) {
        if (firstWindow)
            firstWindow->close();
        return;
    }
    // Queued, so that the tab is selected after this callback has returned and the window is shown.
    MainQueue::async([weakVars = std::weak_ptr(appVars)] {
        if (const auto vars = weakVars.lock())
            vars->selectTab(AppVars::settingsTab);
    });
    makeKeyAndOrderFront();
}

void AppDelegate::applicationWillTerminate() {
    assertMainThread();
    if (appVars)
        appVars->stopAll();
}

bool AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows) {
    assertMainThread();
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

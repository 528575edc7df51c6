#pragma once

#include <QPointer>
#include <QWidget>

#include <memory>

namespace ferrolt {

class AppVars;

/// Closes or shows the window at launch and at a reopen, and stops the services when the application quits.
/// Never delays or refuses to quit. Closing the window does not quit. Main thread.
class AppDelegate {
  public:
    /// Set once by the application's initialiser.
    std::shared_ptr<AppVars> appVars;

    /// The one window of the application; null before.
    void setFirstWindow(QWidget *window) { firstWindow = window; }

    /// With a complete identity closes the window, and the services run without it. With an incomplete one
    /// shows it and selects the settings tab.
    void applicationDidFinishLaunching();

    /// Asks the services to stop before it returns. Does not wait until they have ended.
    void applicationWillTerminate();

    /// Returns true: the platform's own reopen handling shall run too.
    bool applicationShouldHandleReopen(bool hasVisibleWindows);

  private:
    void makeKeyAndOrderFront();

    QPointer<QWidget> firstWindow;
};

}  // namespace ferrolt

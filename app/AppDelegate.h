#pragma once

#include <QPointer>
#include <QWidget>

#include <memory>

namespace ferrolt {

class AppVars;

/// Decides what the window does at launch and at a reopen, and shuts the services down when the application
/// quits. Quitting is never delayed or refused, and closing the window does not quit. Main thread.
class AppDelegate {
  public:
    /// Set once by the application's initialiser.
    std::shared_ptr<AppVars> appVars;

    /// The application's window list. It has one window, or none yet.
    void setFirstWindow(QWidget *window) { firstWindow = window; }

    /// A complete identity leaves the window closed: the services run behind it. An incomplete one brings it
    /// up.
    void applicationDidFinishLaunching();

    /// Stops the services before it returns, without waiting for their end.
    void applicationWillTerminate();

    /// Returns whether the platform's own reopen handling is to run as well: always.
    bool applicationShouldHandleReopen(bool hasVisibleWindows);

  private:
    void makeKeyAndOrderFront();

    QPointer<QWidget> firstWindow;
};

}  // namespace ferrolt

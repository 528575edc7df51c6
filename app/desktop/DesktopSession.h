#pragma once

#include <QObject>

#include <functional>

class QSessionManager;

namespace ferrolt {

/// The program as a member of the desktop's session, where that has a session manager. Main thread; made
/// after the application object.
///
/// A session ends in two steps. First every program is asked to save, and the end can still be called off by
/// any of them: so this is no reason yet to stop the services. Then the programs are told to go, which is a
/// quit like any other. This program never asks its user anything in between, and never refuses.
class DesktopSession : public QObject {
    Q_OBJECT

  public:
    /// `save` is called, on the main thread, each time that the session manager asks: what is not on disk
    /// when it returns may be lost.
    explicit DesktopSession(std::function<void()> save);

  private:
    std::function<void()> save;
};

}  // namespace ferrolt

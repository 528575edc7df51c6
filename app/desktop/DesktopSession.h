#pragma once

#include <QObject>

#include <functional>

// Qt keeps the destructor private.
class QSessionManager;  // NOLINT(cppcoreguidelines-virtual-class-destructor)

namespace ferrolt {

/// Answers the desktop's session manager, where there is one. Main thread; to be created after the
/// application object.
///
/// A session ends in two steps. First the manager asks every program to save; any program can still cancel
/// the end, so the services run on. Then it asks the programs to quit, which is a quit like any other. This
/// program never cancels, asks its user nothing, and is not among what the manager restores with the next
/// session (LoginItem).
class DesktopSession : public QObject {
    Q_OBJECT

  public:
    /// `save` is called on the main thread whenever the session manager asks to save. What is not on disk
    /// when it returns may be lost.
    explicit DesktopSession(std::function<void()> save);

  private:
    std::function<void()> save;
};

}  // namespace ferrolt

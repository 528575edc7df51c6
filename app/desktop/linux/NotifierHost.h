#pragma once

#include <QObject>

class QDBusServiceWatcher;

namespace ferrolt {

/// Whether somebody on the session bus draws tray items (freedesktop.org's StatusNotifierItem: the name
/// org.kde.StatusNotifierWatcher, its property IsStatusNotifierHostRegistered). Main thread.
class NotifierHost : public QObject {
    Q_OBJECT

  public:
    /// Asks, and listens from then on. Returns at once.
    void watch();

  Q_SIGNALS:
    /// Somebody does. May come again.
    void appeared();
    /// The first answer was no, or there is nobody to ask.
    void isAbsent();

  private Q_SLOTS:
    void ask();

  private:
    void take(bool isThere);

    QDBusServiceWatcher *watcher = nullptr;
    bool isFirstAnswer = true;
};

}  // namespace ferrolt

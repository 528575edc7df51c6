#pragma once

#include <QObject>
#include <QSet>
#include <QString>

#include <memory>

namespace ferrolt {

class AppVars;
class DesktopNotifications;
class OpenAtLogin;

/// Tells a new user, in notifications of the desktop, what the window does not show: that closing it ends
/// nothing, and that the program can start at log-in. Each is told once in the life of the user's state file;
/// one that no desktop has shown is told again in a later run. Main thread.
class FirstTimeNotices : public QObject {
    Q_OBJECT

  public:
    /// How the user gets a closed window back, besides a second start.
    enum class WayBack { SecondStart, Tray };

    /// `stateFile` is read and written when there is something to tell; its folder is created when needed.
    FirstTimeNotices(std::shared_ptr<AppVars> appVars, OpenAtLogin &openAtLogin,
                     DesktopNotifications &notifications, QString stateFile);

    /// The state file of the user who runs the program.
    static QString defaultStateFile();

    /// The user has closed the window. Says that both programs run on, if both do.
    void windowClosed(WayBack wayBack);

    /// The settings form was saved. The save that completes the identity offers "Open at Login", unless that
    /// is on.
    void settingsSaved();

  private:
    /// True the first time in this run, unless `notice` was shown in an earlier one.
    bool isFirst(const QString &notice);
    void remember(const QString &notice) const;

    std::shared_ptr<AppVars> appVars;
    OpenAtLogin &openAtLogin;
    DesktopNotifications &notifications;
    const QString stateFile;
    QSet<QString> told;  ///< in this run
    bool isIdentityComplete;
};

}  // namespace ferrolt

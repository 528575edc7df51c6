#pragma once

#include "WindowState.h"

#include <QMainWindow>
#include <QPointer>
#include <QString>

#include <memory>

class QScreen;

namespace ferrolt {

class AboutDialog;
class AppVars;
class Clipboard;
class ConsoleActions;
class ContentView;
class MainMenu;
class OpenAtLogin;
class TimeSource;

/// The one main window. Closing only hides it; it can be shown again. Remembers its size and its dividers.
/// Its content is made when it is first shown: a program that runs behind a closed window from log-in to
/// log-out does without. Main thread.
class MainWindow : public QMainWindow {
    Q_OBJECT

  public:
    /// Does not show the window. `stateFile` is read here, and written when the application quits and when
    /// the window closes after a change; its folder is created when needed.
    MainWindow(std::shared_ptr<AppVars> appVars, std::shared_ptr<TimeSource> time,
               std::shared_ptr<Clipboard> clipboard, QString stateFile);

    /// The state file of the user who runs the program.
    static QString defaultStateFile();

    ContentView *content();

    /// The switch for the menu. Not owned; call once.
    void setOpenAtLogin(OpenAtLogin &item);

    /// Writes the state file. Waits for the disk.
    void saveState();

    void setVisible(bool isVisible) override;

  Q_SIGNALS:
    /// The content is on screen, for the first time or after the window was closed. Emitted from the event
    /// loop after the first paint, so an alert that is shown in answer lies above a window that is already
    /// painted.
    void contentAppeared();
    /// The user chose Quit in the menu or pressed its shortcut.
    void quitRequested();
    /// The settings form was saved.
    void settingsSaved();
    /// The window was visible and is being closed: by its user, or because the application quits.
    void closing();

  protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    void makeContent();
    void makeMenu();
    void addOpenAtLogin();
    void showAbout();
    void followScale(QScreen *screen);
    void restoreState();
    WindowState state() const;

    const QString stateFile;
    WindowState savedState;  ///< as in the file
    const std::shared_ptr<AppVars> appVars;
    const std::shared_ptr<TimeSource> time;
    const std::shared_ptr<Clipboard> clipboard;
    ContentView *view = nullptr;  ///< none before the first showing, and then none of these
    ConsoleActions *consoles = nullptr;
    MainMenu *menu = nullptr;
    OpenAtLogin *openAtLogin = nullptr;
    QPointer<AboutDialog> about;  ///< while it is shown
    bool isAppearing = false;     ///< shown, but contentAppeared() not yet emitted
};

}  // namespace ferrolt

#pragma once

#include <QMainWindow>

#include <memory>

class QScreen;

namespace ferrolt {

class AppVars;
class Clipboard;
class ContentView;
class MainMenu;
class TimeSource;
class WindowStateFile;
struct WindowState;

/// The one main window. Closing it hides it, and it can be shown again; what becomes of the program then is
/// up to the owner. Remembers its size and its dividers. Main thread.
class MainWindow : public QMainWindow {
    Q_OBJECT

  public:
    /// Not shown yet. `stateFile` is read here, and written whenever the window goes away, soon after it; its
    /// folder is created when needed.
    MainWindow(std::shared_ptr<AppVars> appVars, std::shared_ptr<TimeSource> time,
               std::shared_ptr<Clipboard> clipboard, QString stateFile);
    ~MainWindow() override;

    /// The file for it in this user's folder for such things.
    static QString defaultStateFile();

    ContentView *content() const { return view; }

    /// Writes the state file now.
    void saveState();

  Q_SIGNALS:
    /// The window was hidden, or never shown yet, and now its content is on screen. Comes from the event
    /// loop, after the content was first painted: an alert shown in answer lies above it, and does not keep
    /// the user waiting for the window.
    void contentAppeared();
    /// The user chose Quit, from the menu or by its shortcut.
    void quitRequested();

  protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    void makeMenu();
    void followScale(QScreen *screen);
    void restoreState();
    WindowState state() const;

    const std::unique_ptr<WindowStateFile> stateFile;
    ContentView *view;
    MainMenu *menu;
    bool contentIsToAppear = false;
};

}  // namespace ferrolt

#pragma once

#include <QList>
#include <QObject>

#include <memory>
#include <utility>

class QAction;
class QMenu;
class QMenuBar;
class QWidget;

namespace ferrolt {

class AppVars;
class ConsoleActions;

/// The window's commands, those of its consoles among them, for a menu bar or for one compact menu. Their
/// shortcuts work in the whole window, with or without a menu. Each is enabled only while it does something.
/// Main thread.
class MainMenu : public QObject {
    Q_OBJECT

  public:
    /// `window` becomes the parent. `consoles` must live as long as the window.
    MainMenu(QWidget *window, ConsoleActions &consoles, std::shared_ptr<AppVars> appVars);

    /// Adds the menus to `bar`.
    void fill(QMenuBar *bar);
    /// A new menu with all commands, owned by the window.
    QMenu *compactMenu();
    /// Adds a command below Settings to the menus that were made before. Not owned.
    void setOpenAtLogin(QAction *action);

  Q_SIGNALS:
    void aboutRequested();
    void closeRequested();
    void quitRequested();

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    QAction *add(const QString &text, const QKeySequence &shortcut);
    void addSettingsTo(QMenu *menu);
    void refreshFor(QMenu *menu);
    void refresh();
    void showTab(const QString &tab);

    QWidget *window;
    ConsoleActions &consoles;
    std::shared_ptr<AppVars> appVars;
    QAction *home;
    QAction *settings;
    QAction *about;
    QAction *close;
    QAction *quit;
    QList<std::pair<QMenu *, QAction *>> afterSettings;  ///< in each menu the action after Settings
};

}  // namespace ferrolt

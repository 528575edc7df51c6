#pragma once

#include <QObject>

class QAction;
class QMenu;
class QMenuBar;
class QWidget;

namespace ferrolt {

/// The window's commands, for a menu bar or for one compact menu. Their shortcuts work in the whole window,
/// with or without a menu.
///
/// Copy and Select All call the slot copy() or selectAll() of the widget that has the keyboard focus, if it
/// has one. Main thread.
class MainMenu : public QObject {
    Q_OBJECT

  public:
    /// `window` becomes the parent.
    explicit MainMenu(QWidget *window);

    /// Adds the menus File and Edit to `bar`.
    void fill(QMenuBar *bar);
    /// A new menu with all commands, owned by the window.
    QMenu *compactMenu();
    /// Adds the switch to the menus that were made until now. Not owned.
    void setOpenAtLogin(QAction *openAtLogin);

  Q_SIGNALS:
    void closeRequested();
    void quitRequested();

  private:
    QAction *add(const QString &text, const QKeySequence &shortcut);

    QWidget *window;
    QAction *close;
    QAction *quit;
    QAction *copy;
    QAction *selectAll;
};

}  // namespace ferrolt

#pragma once

#include <QObject>

class QAction;
class QMenu;
class QMenuBar;
class QWidget;

namespace ferrolt {

/// The window's commands, once each, for a menu bar as well as for a menu of their own. Their shortcuts work
/// in the whole window whether or not a menu shows them.
///
/// Copy and Select All go to whatever has the keyboard, if it can do so (has a slot of that name).
class MainMenu : public QObject {
    Q_OBJECT

  public:
    explicit MainMenu(QWidget *window);

    /// Adds the menus to a menu bar.
    void fill(QMenuBar *bar);
    /// One menu with all commands; owned by the window.
    QMenu *compactMenu();

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

#pragma once

#include <QList>
#include <QObject>

class QAction;
class QLineEdit;
class QMenu;
class QWidget;

namespace ferrolt {

class LogConsoleView;
class LogSaver;

/// A window's commands for its texts, with their shortcuts. The consoles get them as their context menu.
///
/// Copy and Select All are for the text field that has the focus. Without one they, and the others always,
/// are for the console that had the focus last: at first the first one. Each is enabled only while it does
/// something, as of the last refresh().
///
/// One object for all consoles, since Qt activates neither of two shortcuts for the same key in the same
/// window. Main thread.
class ConsoleActions : public QObject {
    Q_OBJECT

  public:
    /// `window` becomes the parent.
    explicit ConsoleActions(QWidget *window);

    /// Adds a console of the window, which must live as long as this object. It gets the context menu.
    void add(LogConsoleView *console);

    QAction *const copy;
    QAction *const selectAll;
    QAction *const find;
    QAction *const findNext;
    QAction *const findPrevious;
    QAction *const newestEntry;
    QAction *const saveLog;

    /// Enables what does something now. Called before a key is taken for a shortcut and before a context menu
    /// opens; to be called before any other menu with these commands opens.
    void refresh();

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    void connectActions();
    QMenu *makeContextMenu();
    /// None while the one that had the focus last is not shown.
    LogConsoleView *console() const;
    /// None if something else has the focus.
    QLineEdit *focusedField() const;

    QWidget *const window;
    QMenu *const contextMenu;
    QList<LogConsoleView *> consoles;
    LogConsoleView *lastUsed = nullptr;  ///< none before the first console
    LogSaver *const saver;
};

}  // namespace ferrolt

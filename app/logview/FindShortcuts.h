#pragma once

#include <QList>
#include <QObject>

class QWidget;

namespace ferrolt {

class LogConsoleView;

/// The keys of a window that search in its consoles: Find, Find Next and Find Previous. They work wherever
/// the focus is, and search in the console that had the focus last. One object for all consoles, since Qt
/// activates neither of two shortcuts for the same key in the same window. Main thread.
class FindShortcuts : public QObject {
  public:
    /// The keys work while `parent` is visible. `consoles` must not be empty; until one of them has had the
    /// focus the first is searched.
    FindShortcuts(QList<LogConsoleView *> consoles, QWidget *parent);

  private:
    const QList<LogConsoleView *> consoles;
    LogConsoleView *lastUsed;
};

}  // namespace ferrolt

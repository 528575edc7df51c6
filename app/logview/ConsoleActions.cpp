#include "ConsoleActions.h"

#include "LogConsoleView.h"
#include "LogSaver.h"
#include "LogTextArea.h"
#include "MainQueue.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QLineEdit>
#include <QMenu>

namespace ferrolt {
namespace {

QAction *makeAction(QWidget *window, const QString &text, const QList<QKeySequence> &shortcuts) {
    auto *const action = new QAction(text, window);
    action->setShortcuts(shortcuts);
    action->setShortcutVisibleInContextMenu(true);
    window->addAction(action);
    return action;
}

/// All keys of a command: a QKeySequence made of it holds only the first one, and with Qt 6.4's theme for GTK
/// desktops that is Ctrl+G, not F3, for Find Next.
QAction *makeAction(QWidget *window, const QString &text, QKeySequence::StandardKey command) {
    return makeAction(window, text, QKeySequence::keyBindings(command));
}

}  // namespace

ConsoleActions::ConsoleActions(QWidget *window)
    : QObject(window),
      copy(makeAction(window, tr("&Copy"), QKeySequence::Copy)),
      selectAll(makeAction(window, tr("Select &All"), QKeySequence::SelectAll)),
      find(makeAction(window, tr("&Find"), QKeySequence::Find)),
      findNext(makeAction(window, tr("Find &Next"), QKeySequence::FindNext)),
      findPrevious(makeAction(window, tr("Find &Previous"), QKeySequence::FindPrevious)),
      // A log has Ctrl+End for the caret, and a text field has it, too. The standard key for Save As is none
      // on some desktops.
      newestEntry(makeAction(window, tr("Newest &Entry"), {QKeySequence(Qt::ALT | Qt::Key_End)})),
      saveLog(makeAction(window, tr("&Save Log As…"), {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S)})),
      window(window),
      contextMenu(makeContextMenu()),
      saver(new LogSaver(window)) {
    assertMainThread();
    connectActions();
    refresh();
    window->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) {
        for (; now != nullptr; now = now->parentWidget()) {
            auto *const console = qobject_cast<LogConsoleView *>(now);
            if (consoles.contains(console))
                lastUsed = console;
        }
    });
}

void ConsoleActions::add(LogConsoleView *console) {
    consoles.append(console);
    if (lastUsed == nullptr)
        lastUsed = console;
    console->textArea().setContextMenu(contextMenu);
}

void ConsoleActions::connectActions() {
    const auto forConsole = [this](QAction *action, auto act) {
        connect(action, &QAction::triggered, this, [this, act] {
            if (console() != nullptr)
                act(*console());
        });
    };
    forConsole(find, [](LogConsoleView &console) { console.find(); });
    forConsole(findNext, [](LogConsoleView &console) { console.findNext(); });
    forConsole(findPrevious, [](LogConsoleView &console) { console.findPrevious(); });
    forConsole(newestEntry, [](LogConsoleView &console) { console.textArea().scrollToNewest(); });
    forConsole(saveLog, [this](LogConsoleView &console) {
        saver->save(console.title(), console.textArea().buffer());
    });
    connect(copy, &QAction::triggered, this, [this] {
        if (QLineEdit *const field = focusedField())
            field->copy();
        else if (console() != nullptr)
            console()->textArea().copy();
    });
    connect(selectAll, &QAction::triggered, this, [this] {
        if (QLineEdit *const field = focusedField())
            field->selectAll();
        else if (console() != nullptr)
            console()->textArea().selectAll();
    });
}

QMenu *ConsoleActions::makeContextMenu() {
    auto *const menu = new QMenu(window);
    menu->addActions({copy, selectAll});
    menu->addSeparator();
    menu->addActions({find, findNext, findPrevious});
    menu->addSeparator();
    menu->addActions({newestEntry, saveLog});
    connect(menu, &QMenu::aboutToShow, this, &ConsoleActions::refresh);
    return menu;
}

LogConsoleView *ConsoleActions::console() const {
    return lastUsed != nullptr && lastUsed->isVisible() ? lastUsed : nullptr;
}

QLineEdit *ConsoleActions::focusedField() const {
    auto *const field = qobject_cast<QLineEdit *>(window->focusWidget());
    return field != nullptr && field->isVisible() ? field : nullptr;
}

void ConsoleActions::refresh() {
    const LogTextArea *const area = console() != nullptr ? &console()->textArea() : nullptr;
    const QLineEdit *const field = focusedField();
    const bool hasLog = area != nullptr && !area->buffer().isEmpty();
    for (QAction *const each : {find, findNext, findPrevious, saveLog})
        each->setEnabled(hasLog);
    newestEntry->setEnabled(hasLog && !area->showsNewest());
    copy->setEnabled(field != nullptr ? field->hasSelectedText() : hasLog && area->hasSelection());
    selectAll->setEnabled(field != nullptr ? !field->text().isEmpty() : hasLog);
}

bool ConsoleActions::eventFilter(QObject *watched, QEvent *event) {
    // Sent before a key is looked up among the shortcuts, unless the focused widget takes the key for itself.
    if (event->type() == QEvent::ShortcutOverride)
        refresh();
    return QObject::eventFilter(watched, event);
}

}  // namespace ferrolt

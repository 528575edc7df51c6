#include "FindShortcuts.h"

#include "LogConsoleView.h"
#include "MainQueue.h"

#include <QApplication>
#include <QShortcut>

#include <utility>

namespace ferrolt {

FindShortcuts::FindShortcuts(QList<LogConsoleView *> all, QWidget *parent)
    : QObject(parent), consoles(std::move(all)), lastUsed(consoles.value(0)) {
    assertMainThread();
    Q_ASSERT(!consoles.isEmpty());
    // Made of the standard key itself: a QKeySequence made of it holds only the first of its keys, and with
    // Qt 6.4's theme for GTK desktops that is Ctrl+G, not F3, for Find Next.
    const auto add = [&](QKeySequence::StandardKey key, void (LogConsoleView::*find)()) {
        connect(new QShortcut(key, parent), &QShortcut::activated, this,
                [this, find] { (lastUsed->*find)(); });
    };
    add(QKeySequence::Find, &LogConsoleView::find);
    add(QKeySequence::FindNext, &LogConsoleView::findNext);
    add(QKeySequence::FindPrevious, &LogConsoleView::findPrevious);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) {
        for (; now != nullptr; now = now->parentWidget()) {
            auto *const console = qobject_cast<LogConsoleView *>(now);
            if (consoles.contains(console))
                lastUsed = console;
        }
    });
}

}  // namespace ferrolt

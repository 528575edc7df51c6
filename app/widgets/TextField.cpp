#include "TextField.h"

#include "SingleLineText.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QSignalBlocker>
#include <QToolTip>

namespace ferrolt {

TextField::TextField(const QString &placeholder, QWidget *parent) : QLineEdit(parent) {
    setPlaceholderText(placeholder);
    setAccessibleName(placeholder);
    setInputMethodHints(Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    setMaxLength(maxTextLength);
    setValidator(new SingleLineText(this));
    connect(this, &QLineEdit::inputRejected, this, &TextField::showThatTextWasCut);
}

/// QLineEdit::paste() would delete the selected text even when the clipboard is empty.
void TextField::pasteFrom(QClipboard::Mode mode) {
    const QMimeData *const offered = QGuiApplication::clipboard()->mimeData(mode);
    // On X11 each request to a program that does not answer waits for a timeout, and text() makes several
    // requests. formats() makes one.
    if (offered == nullptr || offered->formats().isEmpty())
        return;
    const QString pasted = offered->text();
    if (pasted.isEmpty())
        return;
    beginUndoStep();
    insert(pasted);
    beginUndoStep();
}

/// Makes Undo take back a paste alone, not the typing before and after it. QLineEdit begins a new undo step
/// when the cursor moves, and when selected text is replaced.
void TextField::beginUndoStep() {
    if (hasSelectedText() || text().isEmpty())
        return;
    const QSignalBlocker quietly(this);
    const int place = cursorPosition();
    setCursorPosition(place > 0 ? place - 1 : place + 1);
    setCursorPosition(place);
}

void TextField::keyPressEvent(QKeyEvent *event) {
    if (!event->matches(QKeySequence::Paste)) {
        QLineEdit::keyPressEvent(event);
        return;
    }
    const bool fromSelection = event->key() == Qt::Key_Insert &&
                               event->modifiers() == (Qt::ControlModifier | Qt::ShiftModifier) &&
                               QGuiApplication::clipboard()->supportsSelection();
    pasteFrom(fromSelection ? QClipboard::Selection : QClipboard::Clipboard);
    event->accept();
}

void TextField::contextMenuEvent(QContextMenuEvent *event) {
    // QLineEdit's standard menu reads the clipboard before it opens, which may wait for another program.
    auto *const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [menu](const QString &text, const QKeySequence &keys, bool isPossible, auto act) {
        QAction *const action = menu->addAction(text);
        action->setShortcut(keys);
        action->setShortcutVisibleInContextMenu(true);
        action->setEnabled(isPossible);
        connect(action, &QAction::triggered, menu, act);
    };
    add(tr("&Undo"), QKeySequence::Undo, isUndoAvailable(), [this] { undo(); });
    add(tr("&Redo"), QKeySequence::Redo, isRedoAvailable(), [this] { redo(); });
    menu->addSeparator();
    add(tr("Cu&t"), QKeySequence::Cut, hasSelectedText(), [this] { cut(); });
    add(tr("&Copy"), QKeySequence::Copy, hasSelectedText(), [this] { copy(); });
    add(tr("&Paste"), QKeySequence::Paste, true, [this] { pasteFrom(QClipboard::Clipboard); });
    add(tr("&Delete"), QKeySequence(), hasSelectedText(), [this] { del(); });
    menu->addSeparator();
    add(tr("Select &All"), QKeySequence::SelectAll, !text().isEmpty(), [this] { selectAll(); });
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    menu->popup(byKey ? mapToGlobal(cursorRect().bottomRight()) : event->globalPos());
}

void TextField::showThatTextWasCut() {
    QToolTip::showText(mapToGlobal(rect().bottomLeft()),
                       QStringLiteral("The text is too long. Its end was left out."), this);
}

}  // namespace ferrolt

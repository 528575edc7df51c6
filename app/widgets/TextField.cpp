#include "TextField.h"

#include "Drawing.h"
#include "FocusRing.h"
#include "SingleLineText.h"
#include "Theme.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyleOptionFrame>
#include <QToolTip>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int leastHeight = 28;
constexpr int roomAroundText = 12;
constexpr int textInset = 7;
constexpr qreal cornerRadius = 6;

}  // namespace

TextField::TextField(const QString &placeholder, QWidget *parent) : QLineEdit(parent) {
    setPlaceholderText(placeholder);
    setAccessibleName(placeholder);
    setFrame(false);
    setTextMargins(textInset, 0, textInset, 0);
    setInputMethodHints(Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    setMaxLength(longestText);
    setValidator(new SingleLineText(this));
    connect(this, &QLineEdit::inputRejected, this, &TextField::tellThatTextWasCut);
}

/// QLineEdit's own takes what is selected away also when there is nothing to put in its place.
void TextField::pasteFrom(QClipboard::Mode mode) {
    const QMimeData *const offered = QGuiApplication::clipboard()->mimeData(mode);
    // A program that does not answer is waited for each time that it is asked, and for a text it is asked in
    // several ways.
    if (offered == nullptr || offered->formats().isEmpty())
        return;
    const QString pasted = offered->text();
    if (pasted.isEmpty())
        return;
    beginUndoStep();
    insert(pasted);
    beginUndoStep();
}

/// What is pasted is undone by itself, apart from what was typed before and after it. The steps end where the
/// cursor moves; where something is selected, its removal begins one anyway.
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
    // The standard one asks the clipboard before it opens, and waits for a program that does not answer.
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

void TextField::tellThatTextWasCut() {
    QToolTip::showText(mapToGlobal(rect().bottomLeft()),
                       QStringLiteral("The text is too long. Its end was left out."), this);
}

int TextField::heightFor(const QFontMetrics &metrics) {
    return std::max(leastHeight, metrics.height() + roomAroundText);
}

QSize TextField::sizeHint() const {
    return QSize(QLineEdit::sizeHint().width(), heightFor(fontMetrics()));
}

QSize TextField::minimumSizeHint() const {
    return QSize(QLineEdit::minimumSizeHint().width(), sizeHint().height());
}

void TextField::initStyleOption(QStyleOptionFrame *option) const {
    QLineEdit::initStyleOption(option);
    // The style fills the whole rectangle before it draws the text; the rounded surface is below it.
    option->palette.setBrush(QPalette::Base, Qt::transparent);
    option->lineWidth = 0;
    option->midLineWidth = 0;
}

void TextField::paintEvent(QPaintEvent *event) {
    {
        QPainter painter(this);
        Drawing::fillRounded(painter, rect(), cornerRadius, Theme::textBackground(palette()));
        if (hasFocus())
            FocusRing::draw(painter, rect(), cornerRadius, palette());
        else
            Drawing::strokeRounded(painter, rect(), cornerRadius, Theme::separator(palette()));
    }
    QLineEdit::paintEvent(event);
}

void TextField::changeEvent(QEvent *event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    update();
}

}  // namespace ferrolt

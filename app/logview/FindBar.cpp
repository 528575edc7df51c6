#include "FindBar.h"

#include "Announcement.h"
#include "Drawing.h"
#include "Symbols.h"
#include "TextField.h"
#include "Theme.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>

namespace ferrolt {
namespace {

constexpr int barPadding = 6;
constexpr int endPadding = 6;  ///< brings the last button's text, not its edge, in line with the header
constexpr int minButtonWidth = 28;

}  // namespace

FindBar::FindBar(QWidget *parent)
    : QWidget(parent),
      field(new TextField(tr("Find"), this)),
      result(new Announcement(QString(), Theme::body, Theme::secondaryText, this)) {
    field->setMaxLength(maxTextLength);
    field->installEventFilter(this);
    field->setClearButtonEnabled(true);
    field->findChild<QToolButton *>()->setAccessibleName(tr("Clear"));  // Qt 6.4 gives it none
    result->setObjectName(QStringLiteral("findResult"));
    result->setMinimumWidth(1);

    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(endPadding, barPadding, endPadding, barPadding + 1);
    row->setSpacing(Theme::spacing);
    row->addSpacing(Theme::padding - endPadding);  // a layout does not mirror its margins
    row->addWidget(field, 1);
    row->addWidget(result);
    const auto addArrow = [this](Symbol symbol, const QString &name, void (FindBar::*pressed)()) {
        QPushButton *const arrow = addButton(pressed);
        arrow->setIcon(symbolIcon(symbol, Theme::primaryText));
        arrow->setToolTip(name);
        arrow->setAccessibleName(name);
    };
    addArrow(Symbol::ChevronUp, tr("Find Previous"), &FindBar::previousWanted);
    addArrow(Symbol::ChevronDown, tr("Find Next"), &FindBar::nextWanted);
    addButton(&FindBar::closeWanted)->setText(tr("Done"));

    connect(field, &QLineEdit::textChanged, this, &FindBar::textChanged);
}

QPushButton *FindBar::addButton(void (FindBar::*pressed)()) {
    auto *const button = new QPushButton(this);
    button->setFlat(true);
    button->setAutoDefault(true);  // Enter presses it, as Space does
    button->setMinimumWidth(minButtonWidth);
    button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Ignored);  // as high as the field
    layout()->addWidget(button);
    connect(button, &QPushButton::clicked, this, pressed);
    return button;
}

QString FindBar::text() const {
    return field->text();
}

void FindBar::setText(const QString &text) {
    const QSignalBlocker quietly(this);
    field->setText(text);
}

bool FindBar::hasKeyboard() const {
    return isAncestorOf(QApplication::focusWidget());
}

void FindBar::focusField() {
    field->setFocus(Qt::ShortcutFocusReason);
    field->selectAll();
}

void FindBar::setResult(const QString &words) {
    result->setText(words);
}

void FindBar::speakResult() {
    result->speak();
}

bool FindBar::eventFilter(QObject *watched, QEvent *event) {
    if (watched != field || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto *const key = static_cast<QKeyEvent *>(event);
    if (key->key() != Qt::Key_Return && key->key() != Qt::Key_Enter)
        return QWidget::eventFilter(watched, event);
    if (key->modifiers().testFlag(Qt::ShiftModifier))
        Q_EMIT previousWanted();
    else
        Q_EMIT nextWanted();
    return true;
}

void FindBar::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.fillRect(rect(), Theme::windowBackground(palette()));
    const QRectF whole = Drawing::snapped(painter, rect());
    const qreal line = Drawing::borderWidth(painter);
    painter.fillRect(QRectF(whole.left(), whole.bottom() - line, whole.width(), line),
                     Theme::separator(palette()));
}

}  // namespace ferrolt

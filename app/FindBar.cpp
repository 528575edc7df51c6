#include "FindBar.h"

#include "Drawing.h"
#include "Theme.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

namespace ferrolt {
namespace {

constexpr int paddingAlong = 6;
constexpr int longestText = 1000;

QToolButton *arrowButton(Qt::ArrowType arrow, const QString &toolTip, QWidget *parent) {
    auto *const button = new QToolButton(parent);
    button->setArrowType(arrow);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    return button;
}

}  // namespace

FindBar::FindBar(QWidget *parent)
    : QWidget(parent),
      field(new QLineEdit(this)),
      result(new QLabel(this)),
      previous(arrowButton(Qt::UpArrow, tr("Find Previous"), this)),
      next(arrowButton(Qt::DownArrow, tr("Find Next"), this)) {
    field->setPlaceholderText(tr("Find"));
    field->setAccessibleName(tr("Find"));
    field->setMaxLength(longestText);
    field->installEventFilter(this);
    result->setObjectName(QStringLiteral("findResult"));
    result->setTextFormat(Qt::PlainText);
    result->setMinimumWidth(1);
    auto *const done = new QPushButton(tr("Done"), this);
    done->setAutoDefault(false);

    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(Theme::padding, paddingAlong, Theme::padding, paddingAlong + 1);
    row->setSpacing(Theme::spacing);
    row->addWidget(field, 1);
    row->addWidget(result);
    row->addWidget(previous);
    row->addWidget(next);
    row->addWidget(done);

    connect(field, &QLineEdit::textChanged, this, &FindBar::textChanged);
    connect(previous, &QToolButton::clicked, this, &FindBar::previousWanted);
    connect(next, &QToolButton::clicked, this, &FindBar::nextWanted);
    connect(done, &QPushButton::clicked, this, &FindBar::closeWanted);
}

void FindBar::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    // Its symbol makes Qt look through the desktop's icon themes, and the start of a program that may never
    // be asked to search would wait for that.
    field->setClearButtonEnabled(true);
}

QString FindBar::text() const {
    return field->text();
}

void FindBar::focusField() {
    field->setFocus(Qt::ShortcutFocusReason);
    field->selectAll();
}

void FindBar::setResult(const QString &words) {
    result->setText(words);
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

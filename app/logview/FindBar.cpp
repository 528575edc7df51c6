#include "FindBar.h"

#include "Announcement.h"
#include "Drawing.h"
#include "FlatButton.h"
#include "TextField.h"
#include "Theme.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>

namespace ferrolt {
namespace {

constexpr int paddingAlong = 6;
constexpr int paddingAtEnd =
    6;  ///< which brings the last button's text, not its edge, in line with the header
constexpr int longestText = 1000;

}  // namespace

FindBar::FindBar(QWidget *parent)
    : QWidget(parent),
      field(new TextField(tr("Find"), this)),
      result(new Announcement(QString(), Theme::body, Theme::secondaryText, this)),
      previous(new FlatButton(Qt::UpArrow, tr("Find Previous"), this)),
      next(new FlatButton(Qt::DownArrow, tr("Find Next"), this)) {
    field->setMaxLength(longestText);
    field->installEventFilter(this);
    result->setObjectName(QStringLiteral("findResult"));
    result->setMinimumWidth(1);
    auto *const done = new FlatButton(tr("Done"), this);

    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(Theme::padding, paddingAlong, paddingAtEnd, paddingAlong + 1);
    row->setSpacing(Theme::spacing);
    row->addWidget(field, 1);
    row->addWidget(result);
    row->addWidget(previous);
    row->addWidget(next);
    row->addWidget(done);

    connect(field, &QLineEdit::textChanged, this, &FindBar::textChanged);
    connect(previous, &FlatButton::clicked, this, &FindBar::previousWanted);
    connect(next, &FlatButton::clicked, this, &FindBar::nextWanted);
    connect(done, &FlatButton::clicked, this, &FindBar::closeWanted);
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

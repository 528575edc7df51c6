#include "StatusRow.h"

#include "Symbols.h"
#include "Theme.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>

namespace ferrolt {
namespace {

constexpr int inset = 10;
constexpr int dotSide = 8;
constexpr int verticalMargins = 11;

}  // namespace

StatusRow::StatusRow(const QString &serviceName, QWidget *parent)
    : QWidget(parent), serviceName(serviceName) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    updateWords();
}

void StatusRow::setRunning(bool isRunning) {
    if (isServiceRunning == isRunning)
        return;
    isServiceRunning = isRunning;
    updateWords();
    update();
}

void StatusRow::updateWords() {
    setAccessibleName(words(serviceName, isServiceRunning));
    setToolTip(accessibleName());
}

QString StatusRow::words(const QString &serviceName, bool isRunning) {
    return serviceName + (isRunning ? QStringLiteral(", running") : QStringLiteral(", stopped"));
}

QSize StatusRow::sizeHint() const {
    const QFontMetrics metrics(Theme::subheadline());
    return QSize(2 * inset + dotSide + Theme::spacing + metrics.horizontalAdvance(serviceName),
                 metrics.height() + verticalMargins);
}

QSize StatusRow::minimumSizeHint() const {
    return QSize(2 * inset + dotSide, sizeHint().height());
}

void StatusRow::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const QRect dot = QStyle::visualRect(layoutDirection(), rect(),
                                         QRect(inset, (height() - dotSide) / 2, dotSide, dotSide));
    if (isServiceRunning)
        drawSymbol(painter, Symbol::CircleFill, dot, Theme::green(palette()));
    else
        drawSymbol(painter, Symbol::MinusCircle, dot, Theme::gray(palette()));

    const int textLeft = inset + dotSide + Theme::spacing;
    const QRect textPlace = QStyle::visualRect(layoutDirection(), rect(),
                                               QRect(textLeft, 0, width() - textLeft - inset, height()));
    painter.setFont(Theme::subheadline());
    painter.setPen(Theme::primaryText(palette()));
    painter.drawText(textPlace, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
                     painter.fontMetrics().elidedText(serviceName, Qt::ElideRight, textPlace.width()));
}

void StatusRow::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    update();
}

}  // namespace ferrolt

#include "StatusBadge.h"

#include "Drawing.h"
#include "LogAccessible.h"
#include "Symbols.h"
#include "Theme.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int dotSize = 8;
constexpr int spacing = 4;
constexpr int horizontalPadding = 8;
constexpr int verticalPadding = 4;
constexpr qreal cornerRadius = 6;

}  // namespace

StatusBadge::StatusBadge(QWidget *parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    installConsoleRoles();
    setAccessibleName(text());
}

void StatusBadge::setRunning(bool isRunning) {
    if (isServiceRunning == isRunning)
        return;
    isServiceRunning = isRunning;
    setAccessibleName(text());
    updateGeometry();
    update();
}

QString StatusBadge::text() const {
    return isServiceRunning ? tr("Running") : tr("Stopped");
}

QFont StatusBadge::captionFont() const {
    QFont font = Theme::caption();
    font.setBold(true);
    return font;
}

QSize StatusBadge::sizeHint() const {
    const QFontMetrics metrics(captionFont());
    return {2 * horizontalPadding + dotSize + spacing + metrics.horizontalAdvance(text()),
            2 * verticalPadding + std::max(metrics.height(), dotSize)};
}

bool StatusBadge::event(QEvent *event) {
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    return QWidget::event(event);
}

void StatusBadge::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    Drawing::fillRounded(painter, rect(), cornerRadius, Theme::controlBackground(palette()));
    const QColor color = isServiceRunning ? Theme::green(palette()) : Theme::secondaryText(palette());
    const QRect dot(horizontalPadding, (height() - dotSize) / 2, dotSize, dotSize);
    drawSymbol(painter, isServiceRunning ? Symbol::CircleFill : Symbol::MinusCircle,
               QStyle::visualRect(layoutDirection(), rect(), dot), color);
    painter.setPen(color);
    painter.setFont(captionFont());
    const QRect textPlace = rect().adjusted(horizontalPadding + dotSize + spacing, 0, -horizontalPadding, 0);
    painter.drawText(QStyle::visualRect(layoutDirection(), rect(), textPlace),
                     Qt::AlignLeading | Qt::AlignVCenter, text());
}

}  // namespace ferrolt

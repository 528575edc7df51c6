#include "FlatButton.h"

#include "Drawing.h"
#include "TextField.h"
#include "Theme.h"

#include <QPainter>

namespace ferrolt {
namespace {

constexpr int roomBeside = 10;
constexpr qreal cornerRadius = 6;
constexpr qreal thickness = 1.5;

}  // namespace

FlatButton::FlatButton(const QString &text, QWidget *parent) : FlatButton(Qt::NoArrow, QString(), parent) {
    setText(text);
}

FlatButton::FlatButton(Qt::ArrowType arrow, const QString &toolTip, QWidget *parent)
    : DrawnButton(parent), arrow(arrow) {
    setToolTip(toolTip);
    setAccessibleName(toolTip);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
}

QSize FlatButton::sizeHint() const {
    const QFontMetrics metrics(Theme::body());
    const int height = TextField::heightFor(metrics);
    return QSize(text().isEmpty() ? height : metrics.horizontalAdvance(text()) + 2 * roomBeside, height);
}

void FlatButton::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    if (isDown() || underMouse())
        Drawing::fillRounded(painter, rect(), cornerRadius, Theme::separator(palette()));
    if (showsFocus())
        FocusRing::draw(painter, rect(), cornerRadius, palette());
    if (arrow != Qt::NoArrow) {
        drawArrow(painter);
        return;
    }
    painter.setFont(Theme::body());
    painter.setPen(Theme::primaryText(palette()));
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
}

void FlatButton::drawArrow(QPainter &painter) const {
    const qreal reach = QFontMetricsF(Theme::body()).height() / 4;
    const QPointF middle = QRectF(rect()).center();
    const qreal rise = (arrow == Qt::UpArrow ? -reach : reach) / 2;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(
        QPen(Theme::primaryText(palette()), thickness, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF(
        {middle + QPointF(-reach, -rise), middle + QPointF(0, rise), middle + QPointF(reach, -rise)}));
}

}  // namespace ferrolt

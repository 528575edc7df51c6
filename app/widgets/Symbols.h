#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QRectF>
#include <QSize>

class QPainter;

namespace ferrolt {

enum class Symbol {
    House,
    Gear,
    CircleFill,
    DocOnDoc,
    Checkmark,
    Envelope,
    Person,
    Desktop,
    Paperplane,
    CheckmarkCircle,
    InfoCircle,
    WarningTriangle,
    ErrorOctagon
};

/// The symbol in one colour on a clear ground, centred in `logicalSize` and drawn for `devicePixelRatio`,
/// which is also the pixmap's own. Drawn once for each combination and then kept. Main thread.
QPixmap symbolPixmap(Symbol symbol, QSize logicalSize, const QColor &tint, qreal devicePixelRatio);

/// Draws the symbol into `rectangle`, moved to the nearest device pixels so that it stays crisp.
void drawSymbol(QPainter &painter, Symbol symbol, const QRectF &rectangle, const QColor &tint);

/// The symbol as an icon that is drawn anew for whatever size and scale it is shown at; faint when disabled.
QIcon symbolIcon(Symbol symbol, const QColor &tint);

/// The program's own icon.
QIcon applicationIcon();

/// The same with a stop mark where that has its green dot.
QIcon stoppedApplicationIcon();

}  // namespace ferrolt

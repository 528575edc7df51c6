#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QRectF>
#include <QSize>

#include <functional>

class QPainter;
class QPalette;

namespace ferrolt {

enum class Symbol {
    House,
    Gear,
    CircleFill,
    MinusCircle,
    DocOnDoc,
    Checkmark,
    Envelope,
    Person,
    Desktop,
    Paperplane,
    CheckmarkCircle,
    InfoCircle,
    WarningTriangle,
    ErrorOctagon,
    XmarkCircle,
    ChevronUp,
    ChevronDown,
    ArrowDown,
    Menu
};

/// The symbol in one colour on a transparent background, centred in `logicalSize`. The pixmap is drawn for,
/// and has, `devicePixelRatio`. It is cached. Main thread.
QPixmap symbolPixmap(Symbol symbol, QSize logicalSize, const QColor &tint, qreal devicePixelRatio);

/// Draws the symbol into `rectangle`, whose edges are moved to the nearest device pixels to keep it crisp.
void drawSymbol(QPainter &painter, Symbol symbol, const QRectF &rectangle, const QColor &tint);

/// The symbol as an icon in one of Theme's colours (or any function of the palette). Drawn anew for the
/// application's current palette and each size and scale; faint when disabled. Its name is the drawing's.
QIcon symbolIcon(Symbol symbol, std::function<QColor(const QPalette &)> colorRole);

/// The program's own icon.
QIcon applicationIcon();

/// The program's icon with a stop mark instead of the green dot.
QIcon stoppedApplicationIcon();

}  // namespace ferrolt

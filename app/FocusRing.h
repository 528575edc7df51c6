#pragma once

#include <QPainter>
#include <QPalette>
#include <QRectF>

namespace ferrolt {

/// Shows which control the keyboard works.
class FocusRing {
  public:
    /// A control that got the focus by the mouse needs no ring; one that the keyboard went to does, and keeps
    /// it (`isShown`) when the window or a menu comes and goes.
    static bool isDueFor(Qt::FocusReason reason, bool isShown);

    /// Draws it inside `rectangle`.
    static void draw(QPainter &painter, const QRectF &rectangle, qreal radius, const QPalette &palette);
};

}  // namespace ferrolt

#pragma once

#include <QPainter>
#include <QPalette>
#include <QRectF>

namespace ferrolt {

/// Shows which control the keyboard works: the control that has the focus, if the keyboard brought it there.
/// A ring stays while the window or a menu takes the focus for a moment.
class FocusRing {
  public:
    /// To be called with each QFocusEvent of the control.
    void focusIn(Qt::FocusReason reason);
    void focusOut(Qt::FocusReason reason);
    bool isShown() const { return shown; }

    /// Draws it inside `rectangle`.
    static void draw(QPainter &painter, const QRectF &rectangle, qreal radius, const QPalette &palette);

  private:
    bool shown = false;
};

}  // namespace ferrolt

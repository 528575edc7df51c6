#pragma once

#include "DrawnButton.h"

namespace ferrolt {

/// A button without a surface of its own but while it is pointed at or pressed: a word or an arrow, as high
/// as the text field beside it.
class FlatButton : public DrawnButton {
    Q_OBJECT

  public:
    explicit FlatButton(const QString &text, QWidget *parent = nullptr);
    /// The arrow points up or down; screen readers know the button by its tool tip.
    FlatButton(Qt::ArrowType arrow, const QString &toolTip, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    void drawArrow(QPainter &painter) const;

    const Qt::ArrowType arrow = Qt::NoArrow;
};

}  // namespace ferrolt

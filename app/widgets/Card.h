#pragma once

#include <QWidget>

namespace ferrolt {

/// A rounded surface in the control background colour that groups controls.
class Card : public QWidget {
    Q_OBJECT

  public:
    using QWidget::QWidget;

  protected:
    void paintEvent(QPaintEvent *event) override;
};

}  // namespace ferrolt

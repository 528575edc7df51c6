#pragma once

#include "DrawnButton.h"
#include "Symbols.h"

namespace ferrolt {

/// One line of the sidebar that leads somewhere: a symbol and a text in the accent colour, on a rounded
/// highlight while selected. One of its siblings is selected at a time; the arrow keys go from one to the
/// next.
class SidebarEntry : public DrawnButton {
    Q_OBJECT

  public:
    SidebarEntry(Symbol symbol, const QString &text, QWidget *parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    Symbol symbol;
};

}  // namespace ferrolt

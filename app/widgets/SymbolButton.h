#pragma once

#include "DrawnButton.h"
#include "Symbols.h"

#include <QColor>

#include <functional>

namespace ferrolt {

/// A button without a border that is nothing but a symbol. What it does stands in its tooltip, which is also
/// its name for a screen reader.
class SymbolButton : public DrawnButton {
    Q_OBJECT

  public:
    /// A role of Theme: the colour for a palette.
    using Role = QColor (*)(const QPalette &);

    SymbolButton(const QString &toolTip, Symbol symbol, Role tint, QWidget *parent = nullptr);

    void setSymbol(Symbol symbol, Role tint);
    Symbol symbol() const { return shown; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    int side() const;

    Symbol shown;
    Role tint;
};

}  // namespace ferrolt

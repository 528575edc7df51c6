#pragma once

#include "Symbols.h"
#include "Theme.h"

#include <QWidget>

namespace ferrolt {

/// A symbol beside a text, in one of Theme's colours and in the size of the text's font.
class SymbolView : public QWidget {
    Q_OBJECT

  public:
    /// The symbol is centred in `frameWidth` logical pixels; 0 stands for the symbol's own width.
    SymbolView(Symbol symbol, Theme::FontRole fontRole, Theme::ColorRole colorRole, int frameWidth = 0,
               QWidget *parent = nullptr);

    /// The width and height of a symbol beside a text in `font`, in logical pixels.
    static int sideBeside(const QFont &font);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    Symbol symbol;
    Theme::FontRole fontRole;
    Theme::ColorRole colorRole;
    int frameWidth;
};

}  // namespace ferrolt

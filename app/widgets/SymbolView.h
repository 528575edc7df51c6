#pragma once

#include "Symbols.h"

#include <QWidget>

namespace ferrolt {

/// A symbol beside a text, in one of Theme's colours and as large as the text's font asks for.
class SymbolView : public QWidget {
    Q_OBJECT

  public:
    using FontRole = QFont (*)();
    using ColorRole = QColor (*)(const QPalette &);

    /// `frameWidth` is how much room the symbol takes sideways, centred in it; 0 for as much as it needs.
    SymbolView(Symbol symbol, FontRole fontRole, ColorRole colorRole, int frameWidth = 0,
               QWidget *parent = nullptr);

    /// How wide and high a symbol is beside a text in that font.
    static int sideBeside(const QFont &font);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    Symbol symbol;
    FontRole fontRole;
    ColorRole colorRole;
    int frameWidth;
};

}  // namespace ferrolt

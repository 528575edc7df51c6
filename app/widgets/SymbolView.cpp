#include "SymbolView.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace ferrolt {

SymbolView::SymbolView(Symbol symbol, Theme::FontRole fontRole, Theme::ColorRole colorRole, int frameWidth,
                       QWidget *parent)
    : QWidget(parent), symbol(symbol), fontRole(fontRole), colorRole(colorRole), frameWidth(frameWidth) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

int SymbolView::sideBeside(const QFont &font) {
    return std::max(1, static_cast<int>(std::lround(QFontMetricsF(font).ascent() * 1.3)));
}

QSize SymbolView::sizeHint() const {
    const int side = sideBeside(fontRole());
    return QSize(frameWidth > 0 ? frameWidth : side, frameWidth > 0 ? std::min(side, frameWidth) : side);
}

void SymbolView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const int side = std::min(width(), height());
    drawSymbol(painter, symbol, QRect((width() - side) / 2, (height() - side) / 2, side, side),
               colorRole(palette()));
}

void SymbolView::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    update();
}

}  // namespace ferrolt

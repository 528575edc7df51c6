#include "ProminentButton.h"

#include "Drawing.h"
#include "SymbolView.h"
#include "Theme.h"

#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace ferrolt {
namespace {

constexpr int roomBeside = 14;
constexpr int leastHeight = 32;
constexpr int labelPadding = 6;   ///< above and below the label
constexpr int borderPadding = 2;  ///< between that and the button's edge
constexpr qreal cornerRadius = 6;

QFont labelFont() {
    QFont font = Theme::body();
    font.setWeight(QFont::Medium);
    return font;
}

}  // namespace

ProminentButton::ProminentButton(Symbol symbol, const QString &text, QWidget *parent)
    : QPushButton(parent), symbol(symbol), label(text) {
    setText(QString(text).replace(QLatin1Char('&'), QStringLiteral("&&")));
    setAccessibleName(text);
    setAutoDefault(false);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
}

QSize ProminentButton::sizeHint() const {
    const QFontMetrics metrics(labelFont());
    return QSize(2 * roomBeside + SymbolView::sideBeside(labelFont()) + Theme::spacing +
                     metrics.horizontalAdvance(label),
                 std::max(leastHeight, metrics.height() + 2 * (labelPadding + borderPadding)));
}

void ProminentButton::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    QColor surface = Theme::accent(palette());
    if (isDown())
        surface = surface.darker(125);
    else if (underMouse())
        surface = surface.darker(108);
    Drawing::fillRounded(painter, rect(), cornerRadius, surface);
    const QColor ink = Theme::onAccent(palette());
    if (ring.isShown()) {
        // In the ink's colour and off the edge: a ring of the accent colour would not show here.
        Drawing::strokeRounded(painter, rect().adjusted(2, 2, -2, -2), cornerRadius - 2, ink);
        Drawing::strokeRounded(painter, rect().adjusted(3, 3, -3, -3), cornerRadius - 3, ink);
    }

    painter.setFont(labelFont());
    const int side = SymbolView::sideBeside(labelFont());
    const int textWidth = painter.fontMetrics().horizontalAdvance(label);
    const int left = (width() - side - Theme::spacing - textWidth) / 2;
    const auto mirrored = [this](const QRect &place) {
        return QStyle::visualRect(layoutDirection(), rect(), place);
    };
    drawSymbol(painter, symbol, mirrored(QRect(left, (height() - side) / 2, side, side)), ink);
    painter.setPen(ink);
    painter.drawText(mirrored(QRect(left + side + Theme::spacing, 0, textWidth + 1, height())),
                     Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine, label);
}

void ProminentButton::focusInEvent(QFocusEvent *event) {
    ring.focusIn(event->reason());
    QPushButton::focusInEvent(event);
}

void ProminentButton::focusOutEvent(QFocusEvent *event) {
    ring.focusOut(event->reason());
    QPushButton::focusOutEvent(event);
}

void ProminentButton::keyPressEvent(QKeyEvent *event) {
    // Enter presses the button that has the focus, and no other.
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !event->isAutoRepeat())
        click();
    else
        QPushButton::keyPressEvent(event);
}

void ProminentButton::changeEvent(QEvent *event) {
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    update();
}

}  // namespace ferrolt

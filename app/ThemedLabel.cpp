#include "ThemedLabel.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>

namespace ferrolt {

ThemedLabel::ThemedLabel(const QString &text, FontRole fontRole, ColorRole colorRole, QWidget *parent)
    : QLabel(parent), fontRole(fontRole), colorRole(colorRole) {
    setTextFormat(Qt::PlainText);
    setText(text);
    setFont(fontRole());
}

// A palette of its own would have to be made anew, in the right order, whenever that of the desktop changes;
// a colour that is asked for while painting is never the old one.
void ThemedLabel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setPen(colorRole(palette()));
    const Qt::Alignment place = QStyle::visualAlignment(layoutDirection(), alignment());
    painter.drawText(contentsRect(),
                     static_cast<int>(place) | (wordWrap() ? Qt::TextWordWrap : Qt::TextSingleLine), text());
}

void ThemedLabel::changeEvent(QEvent *event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::ApplicationFontChange && font() != fontRole())
        setFont(fontRole());
    if (event->type() == QEvent::PaletteChange)
        update();
}

}  // namespace ferrolt

#include "ThemedLabel.h"

#include <QEvent>

namespace ferrolt {

ThemedLabel::ThemedLabel(const QString &text, FontRole fontRole, ColorRole colorRole, QWidget *parent)
    : QLabel(parent), fontRole(fontRole), colorRole(colorRole) {
    setTextFormat(Qt::PlainText);
    setText(text);
    followTheme();
}

void ThemedLabel::changeEvent(QEvent *event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ApplicationFontChange ||
        event->type() == QEvent::FontChange)
        followTheme();
}

void ThemedLabel::followTheme() {
    // Setting either announces itself as a change.
    if (isFollowing)
        return;
    isFollowing = true;
    setFont(fontRole());
    // The inherited colours without the one that was set here before.
    QPalette colors = parentWidget() ? parentWidget()->palette() : QPalette();
    colors.setResolveMask(0);
    colors.setColor(QPalette::WindowText, colorRole(colors));
    setPalette(colors);
    isFollowing = false;
}

}  // namespace ferrolt

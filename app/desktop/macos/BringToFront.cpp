#include "BringToFront.h"

#include <QWidget>

namespace ferrolt {

void bringToFront(QWidget &window, const std::string &) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

bool isBeingShownAgain(const QWidget &) {
    return false;
}

}  // namespace ferrolt

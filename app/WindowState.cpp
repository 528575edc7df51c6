#include "WindowState.h"

#include <QSettings>

namespace ferrolt {
namespace {

const QString width = QStringLiteral("window/width");
const QString height = QStringLiteral("window/height");
const QString maximized = QStringLiteral("window/maximized");
const QString sidebar = QStringLiteral("window/sidebarWidth");
const QString upperLog = QStringLiteral("window/upperLogShare");

}  // namespace

WindowState WindowState::load(const QString &file) {
    const QSettings settings(file, QSettings::IniFormat);
    WindowState state;
    const auto number = [&settings](const QString &key, int least, int most, int initial) {
        bool isNumber = false;
        const int value = settings.value(key).toInt(&isNumber);
        return isNumber && value >= least && value <= most ? value : initial;
    };
    constexpr int largest = 1 << 15;  // beyond any screen; the window is fitted to its screen later
    state.size =
        QSize(number(width, 1, largest, state.size.width()), number(height, 1, largest, state.size.height()));
    state.isMaximized = settings.value(maximized).toBool();
    state.sidebarWidth = number(sidebar, 1, largest, state.sidebarWidth);
    bool isNumber = false;
    const double share = settings.value(upperLog).toDouble(&isNumber);
    if (isNumber && share > 0 && share < 1)
        state.upperLogShare = share;
    return state;
}

void WindowState::save(const QString &file) const {
    QSettings settings(file, QSettings::IniFormat);
    settings.setValue(width, size.width());
    settings.setValue(height, size.height());
    settings.setValue(maximized, isMaximized);
    settings.setValue(sidebar, sidebarWidth);
    settings.setValue(upperLog, upperLogShare);
}

}  // namespace ferrolt

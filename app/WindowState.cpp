#include "WindowState.h"

#include "FilePath.h"
#include "JsonFile.h"

namespace ferrolt {
namespace {

const QString width = QStringLiteral("width");
const QString height = QStringLiteral("height");
const QString maximized = QStringLiteral("maximized");
const QString sidebar = QStringLiteral("sidebarWidth");
const QString upperLog = QStringLiteral("upperLogShare");

}  // namespace

WindowState WindowState::load(const QString &file) {
    const QJsonObject entries = JsonFile::read(pathOf(file)).value_or(QJsonObject());
    WindowState state;
    const auto number = [&entries](const QString &key, int min, int max, int initial) {
        const int value = entries.value(key).toInt(initial);
        return value >= min && value <= max ? value : initial;
    };
    constexpr int maxPixels = 1 << 15;  // more than any screen; MainWindow fits the window to its screen
    state.size = QSize(number(width, 1, maxPixels, state.size.width()),
                       number(height, 1, maxPixels, state.size.height()));
    state.isMaximized = entries.value(maximized).toBool();
    state.sidebarWidth = number(sidebar, 1, maxPixels, state.sidebarWidth);
    const double share = entries.value(upperLog).toDouble(state.upperLogShare);
    if (share > 0 && share < 1)
        state.upperLogShare = share;
    return state;
}

void WindowState::save(const QString &file) const {
    const QJsonObject entries{{width, size.width()},
                              {height, size.height()},
                              {maximized, isMaximized},
                              {sidebar, sidebarWidth},
                              {upperLog, upperLogShare}};
    static_cast<void>(JsonFile::write(pathOf(file), entries));
}

}  // namespace ferrolt

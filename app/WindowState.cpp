#include "WindowState.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace ferrolt {
namespace {

const QString width = QStringLiteral("width");
const QString height = QStringLiteral("height");
const QString maximized = QStringLiteral("maximized");
const QString sidebar = QStringLiteral("sidebarWidth");
const QString upperLog = QStringLiteral("upperLogShare");

/// Ours has five short lines, and whatever else stands in its place must not cost the start its time.
constexpr qint64 largestFile = 64 * 1024;

/// JSON and not QSettings' own format, which builds whatever object a damaged line describes.
QJsonObject entriesOf(const QString &path) {
    QFile file(path);
    // A pipe in the file's place would block its reader.
    if (!QFileInfo(path).isFile() || file.size() > largestFile || !file.open(QIODevice::ReadOnly))
        return QJsonObject();
    return QJsonDocument::fromJson(file.read(largestFile)).object();
}

}  // namespace

WindowState WindowState::load(const QString &file) {
    const QJsonObject entries = entriesOf(file);
    WindowState state;
    const auto number = [&entries](const QString &key, int least, int most, int initial) {
        const int value = entries.value(key).toInt(initial);
        return value >= least && value <= most ? value : initial;
    };
    constexpr int largest = 1 << 15;  // beyond any screen; the window is fitted to its screen later
    state.size =
        QSize(number(width, 1, largest, state.size.width()), number(height, 1, largest, state.size.height()));
    state.isMaximized = entries.value(maximized).toBool();
    state.sidebarWidth = number(sidebar, 1, largest, state.sidebarWidth);
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
    QDir().mkpath(QFileInfo(file).path());
    QSaveFile saved(file);
    if (!saved.open(QIODevice::WriteOnly))
        return;
    saved.write(QJsonDocument(entries).toJson());
    saved.commit();
}

}  // namespace ferrolt

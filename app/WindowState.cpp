#include "WindowState.h"

#include "FileReplacement.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstddef>
#include <filesystem>
#include <system_error>

namespace ferrolt {
namespace {

const QString width = QStringLiteral("width");
const QString height = QStringLiteral("height");
const QString maximized = QStringLiteral("maximized");
const QString sidebar = QStringLiteral("sidebarWidth");
const QString upperLog = QStringLiteral("upperLogShare");

/// Our file has five short lines. A larger one is not ours, and reading it would delay the start.
constexpr qint64 maxFileSize = 64 * 1024;

/// JSON and not QSettings' format: QSettings constructs any object that a damaged line describes.
QJsonObject entriesOf(const QString &path) {
    QFile file(path);
    // Opening a pipe would block.
    if (!QFileInfo(path).isFile() || file.size() > maxFileSize || !file.open(QIODevice::ReadOnly))
        return QJsonObject();
    return QJsonDocument::fromJson(file.read(maxFileSize)).object();
}

}  // namespace

WindowState WindowState::load(const QString &file) {
    const QJsonObject entries = entriesOf(file);
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
    const QByteArray text = QJsonDocument(entries).toJson();
    const std::filesystem::path path = QFile::encodeName(file).toStdString();
    std::error_code failure;
    std::filesystem::create_directories(path.parent_path(), failure);
    static_cast<void>(replaceFile(path, {text.constData(), static_cast<std::size_t>(text.size())}));
}

}  // namespace ferrolt

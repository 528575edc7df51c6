#pragma once

#include <QFile>
#include <QString>

#include <filesystem>

namespace ferrolt {

/// The path of a file that Qt names, in the encoding of the file system.
inline std::filesystem::path pathOf(const QString &file) {
    return QFile::encodeName(file).toStdString();
}

}  // namespace ferrolt

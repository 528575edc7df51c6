#pragma once

#include "PathResolvers.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>

namespace ferrolt {

/// A temporary home folder for the targets that read and write properties files.
class PropertiesHome {
  public:
    PropertiesHome() {
        PathRoots roots;
        roots.root = roots.resources = roots.executableFolder = folder.path().toStdString();
        roots.home = roots.developmentFolder = roots.root;
        roots.nodeServerHost = "nodes.test.example";
        usePathRoots(roots);
        std::filesystem::create_directories(clientVarFolder());
        std::filesystem::create_directories(localPropertiesPath().parent_path());
    }

    static void write(const std::filesystem::path &path, const QByteArray &bytes) {
        QFile file(QString::fromStdString(path.string()));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
            std::abort();
    }
    static QByteArray read(const std::filesystem::path &path) {
        QFile file(QString::fromStdString(path.string()));
        if (!file.open(QIODevice::ReadOnly))
            std::abort();
        return file.readAll();
    }
    static QStringList names(const std::filesystem::path &folder) {
        return QDir(QString::fromStdString(folder.string()))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

  private:
    QTemporaryDir folder;
};

/// The bytes of a file with this text in UTF-8: as UTF-16 after an "L" (little-endian) or a "B", as they are
/// after anything else. A fuzzer changes UTF-8 with more success, and a person can read it.
inline QByteArray encodedFile(char encoding, const QByteArray &text) {
    if (encoding != 'L' && encoding != 'B')
        return text;
    QByteArray file;
    const QByteArray mark = "\xEF\xBB\xBF";  // fromUtf8() drops the first one
    for (const QChar unit : QString::fromUtf8(mark + mark + text)) {
        const char low = static_cast<char>(unit.cell());
        const char high = static_cast<char>(unit.row());
        file.append(encoding == 'L' ? low : high).append(encoding == 'L' ? high : low);
    }
    return file;
}

}  // namespace ferrolt

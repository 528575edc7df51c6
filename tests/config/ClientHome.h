#pragma once

#include "PathResolvers.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <filesystem>
#include <string>

namespace ferrolt {

/// The identity that the tests save.
inline const QString email = QStringLiteral("miner@example.org");
inline const QString entity = QStringLiteral("Acme");
inline const QString displayName = QStringLiteral("rig");

/// A temporary tree for the path resolvers. It is in memory if there is enough, so that thousands of saves do
/// not wait for a disk.
class ClientHome {
  public:
    ClientHome() : folder(place()) {
        PathRoots roots;
        roots.root = path() / "root";
        roots.home = path() / "home";
        roots.resources = path() / "resources";
        roots.executableFolder = path() / "bin";
        roots.developmentFolder = path() / "development";
        roots.nodeServerHost = "nodes.test.example";
        usePathRoots(roots);
    }
    ~ClientHome() { usePathRoots(PathRoots()); }
    ClientHome(const ClientHome &) = delete;
    ClientHome &operator=(const ClientHome &) = delete;

    bool isValid() const { return folder.isValid(); }
    std::filesystem::path path() const { return QFile::encodeName(folder.path()).toStdString(); }

    std::filesystem::path configuration() const { return clientConfigurationPath(); }
    void writeConfiguration(const QByteArray &bytes) const { write(configuration(), bytes); }
    QByteArray readConfiguration() const { return read(configuration()); }

    static void write(const std::filesystem::path &path, const QByteArray &bytes) {
        std::filesystem::create_directories(path.parent_path());
        QFile file(name(path));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
            qFatal("A test could not write its file.");
    }
    /// A null array if it cannot be read.
    static QByteArray read(const std::filesystem::path &path) {
        QFile file(name(path));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QByteArray bytes = file.readAll();
        return bytes.isNull() ? QByteArray("") : bytes;
    }
    /// The sorted names in a folder, with hidden files.
    static QStringList contents(const std::filesystem::path &folder) {
        return QDir(name(folder))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

  private:
    static QString name(const std::filesystem::path &path) {
        return QFile::decodeName(QByteArray::fromStdString(path.native()));
    }
    /// Some tests write 100 MB, and several run at once. A container's /dev/shm has 64 MB.
    static QString place() {
        constexpr qint64 enough = qint64{512} << 20;
        const QString memory = QStringLiteral("/dev/shm");
        const bool serves = QFileInfo(memory).isWritable() && QStorageInfo(memory).bytesAvailable() >= enough;
        return (serves ? memory : QDir::tempPath()) + QStringLiteral("/ferrolt-config-XXXXXX");
    }

    QTemporaryDir folder;
};

}  // namespace ferrolt

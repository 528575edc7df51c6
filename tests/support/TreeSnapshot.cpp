#include "TreeSnapshot.h"

#include <QCryptographicHash>
#include <QFile>

#include <sys/stat.h>

namespace ferrolt {

namespace fs = std::filesystem;

std::map<std::string, std::string> treeSnapshot(const fs::path &folder) {
    std::map<std::string, std::string> snapshot;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder)) {
        struct stat status {};
        lstat(entry.path().c_str(), &status);
        const std::string mode = QByteArray::number(status.st_mode, 8).toStdString();
        std::string &text = snapshot[entry.path().lexically_relative(folder).string()];
        if (S_ISLNK(status.st_mode))
            text = "link " + fs::read_symlink(entry.path()).string();
        else if (S_ISREG(status.st_mode))
            text = mode + " " +
                   QCryptographicHash::hash(readFile(entry.path()), QCryptographicHash::Sha256)
                       .toHex()
                       .toStdString();
        else
            text = mode;
    }
    return snapshot;
}

QByteArray treeDifference(const std::map<std::string, std::string> &actual,
                          const std::map<std::string, std::string> &expected) {
    for (const auto &[path, text] : expected)
        if (const auto found = actual.find(path); found == actual.end())
            return "missing: " + QByteArray::fromStdString(path);
        else if (found->second != text)
            return QByteArray::fromStdString(path + ": " + found->second + " instead of " + text);
    for (const auto &[path, text] : actual)
        if (!expected.contains(path))
            return "too many: " + QByteArray::fromStdString(path);
    return {};
}

void writeFile(const fs::path &path, const QByteArray &content) {
    QFile file(QString::fromStdString(path.string()));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", path.c_str());
}

QByteArray readFile(const fs::path &path) {
    QFile file(QString::fromStdString(path.string()));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void writeScript(const fs::path &path, const QByteArray &commands) {
    writeFile(path, "#!/bin/sh\n" + commands);
    fs::permissions(path, fs::perms::owner_all);
}

}  // namespace ferrolt

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <dlfcn.h>

/// fuzz-replay TARGET FOLDER: gives each file of the folder to a fuzz target, by the name of its function in
/// this program. The target ends the process if it finds something. Ends with status 0 only if there was a
/// file.
int main(int argc, char *argv[]) {
    using Target = int (*)(const std::uint8_t *, std::size_t);
    const auto target = argc == 3 ? reinterpret_cast<Target>(dlsym(RTLD_DEFAULT, argv[1])) : nullptr;
    if (target == nullptr) {
        std::fputs("usage: fuzz-replay TARGET FOLDER\n", stderr);
        return 2;
    }
    const QDir folder(QFile::decodeName(argv[2]));
    const QStringList names = folder.entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        std::fprintf(stderr, "%s\n", qPrintable(name));
        QFile file(folder.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) {
            std::perror("cannot be read");
            return 1;
        }
        const QByteArray bytes = file.readAll();
        target(reinterpret_cast<const std::uint8_t *>(bytes.constData()),
               static_cast<std::size_t>(bytes.size()));
    }
    std::printf("%s: %d inputs replayed\n", argv[1], static_cast<int>(names.size()));
    return names.isEmpty() ? 1 : 0;
}

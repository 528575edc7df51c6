// The digest of a 400 MB image, beside `openssl dgst -sha256` on the same file. Medians of five runs, in
// turn; of one when anything is asked for.

#include "Figures.h"
#include "Sha256.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>

namespace {

constexpr qint64 size = 400'000'000;

bool writeImage(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QByteArray block(1'000'000, '\0');
    std::uint32_t state = 1;
    for (char &byte : block)
        byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    for (qint64 written = 0; written < size; written += block.size())
        if (file.write(block) != block.size())
            return false;
    return true;
}

}  // namespace

int main(int argc, char **) {
    using namespace ferrolt::bench;
    const int runs = argc > 1 ? 1 : 5;
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("LibreOffice.dmg"));
    if (!writeImage(path))
        return 2;
    QString ours;
    QByteArray theirs;
    Samples ourRates;
    Samples theirRates;
    for (int run = 0; run < runs; ++run) {
        constexpr double gigabytes = static_cast<double>(size) / 1e9;
        ourRates.push_back(gigabytes / seconds([&] {
                               ours = ferrolt::sha256OfFile(path.toStdString()).value_or(QString());
                           }));
        theirRates.push_back(gigabytes / seconds([&] {
                                 QProcess openssl;
                                 openssl.start(QStringLiteral("openssl"),
                                               {QStringLiteral("dgst"), QStringLiteral("-sha256"), path});
                                 openssl.waitForFinished(-1);
                                 theirs = openssl.readAllStandardOutput();
                             }));
    }
    if (ours.isEmpty() || !theirs.contains(ours.toLatin1())) {
        std::fprintf(stderr, "the digests differ\n");
        return 1;
    }
    report({"SHA-256 of a 400 MB image", "GB/s", ourRates, "openssl dgst", theirRates, Judged::Ratio,
            Goal::AtLeast, 1.0});
    return 0;
}

// The digest of a 400 MB image, beside `openssl dgst -sha256` on the same file. Medians of five runs, in
// turn.

#include "Sha256.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

namespace {

constexpr qint64 size = 400'000'000;

template <class Work>
double seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::array<double, 5> values) {
    std::sort(values.begin(), values.end());
    return values[2];
}

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

int main() {
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("LibreOffice.dmg"));
    if (!writeImage(path))
        return 2;
    QString ours;
    QByteArray theirs;
    std::array<double, 5> ourTimes{};
    std::array<double, 5> theirTimes{};
    for (std::size_t run = 0; run < ourTimes.size(); ++run) {
        ourTimes[run] =
            seconds([&] { ours = ferrolt::sha256OfFile(path.toStdString()).value_or(QString()); });
        theirTimes[run] = seconds([&] {
            QProcess openssl;
            openssl.start(QStringLiteral("openssl"),
                          {QStringLiteral("dgst"), QStringLiteral("-sha256"), path});
            openssl.waitForFinished(-1);
            theirs = openssl.readAllStandardOutput();
        });
    }
    if (ours.isEmpty() || !theirs.contains(ours.toLatin1())) {
        std::fprintf(stderr, "the digests differ\n");
        return 1;
    }
    const double rate = static_cast<double>(size) / 1e9;
    std::printf("sha256OfFile %.2f GB/s, openssl dgst %.2f GB/s, ratio %.2f (to reach: 1.00)\n",
                rate / median(ourTimes), rate / median(theirTimes), median(theirTimes) / median(ourTimes));
    return 0;
}

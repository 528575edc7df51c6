#include "TestDiskImage.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>

#include <array>
#include <cstdint>

namespace ferrolt {

namespace {

template <class Number>
QByteArray big(Number value) {
    QByteArray bytes(sizeof value, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}
QByteArray u32(std::uint32_t value) {
    return big(value);
}
QByteArray u64(std::uint64_t value) {
    return big(value);
}

std::uint32_t crc32(const QByteArray &bytes) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> made{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            made[i] = i;
            for (int bit = 0; bit < 8; ++bit)
                made[i] = (made[i] >> 1) ^ ((made[i] & 1) != 0 ? 0xEDB88320 : 0);
        }
        return made;
    }();
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes)
        crc = table[(crc ^ static_cast<std::uint8_t>(byte)) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

QByteArray checksum(const QByteArray &bytes) {
    return u32(2) + u32(32) + u32(crc32(bytes)) + QByteArray(124, '\0');
}

constexpr qsizetype sector = 512;

}  // namespace

QByteArray udifImage(const QByteArray &volume, UdifBlocks blocks, const QString &partition) {
    constexpr qsizetype chunk = 512 * 1024;
    QByteArray data;
    QByteArray runs;
    std::uint32_t runCount = 0;
    std::uint64_t sectors = 0;
    const auto run = [&](std::uint32_t type, std::uint64_t count, const QByteArray &stored) {
        runs += u32(type) + u32(0) + u64(sectors) + u64(count) +
                u64(static_cast<std::uint64_t>(data.size())) + u64(static_cast<std::uint64_t>(stored.size()));
        data += stored;
        sectors += count;
        ++runCount;
    };
    for (qsizetype offset = 0; offset < volume.size(); offset += chunk) {
        const QByteArray part = volume.mid(offset, chunk);
        const auto count = static_cast<std::uint64_t>((part.size() + sector - 1) / sector);
        // qCompress writes the length before the zlib stream, which UDIF does not have.
        if (blocks == UdifBlocks::Zlib)
            run(0x80000005, count, qCompress(part).mid(4));
        else
            run(1, count, part);
    }
    run(0xFFFFFFFF, 0, {});

    const QByteArray table = "mish" + u32(1) + u64(0) + u64(sectors) + u64(0) + u32(0x208) + u32(0) +
                             QByteArray(24, '\0') + checksum(volume) + u32(runCount) + runs;
    const QByteArray name = "disk image (" + partition.toUtf8() + " : 1)";
    const QByteArray plist =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist "
        "version=\"1.0\"><dict><key>resource-fork</key><dict>"
        "<key>blkx</key><array><dict><key>Attributes</key><string>0x0050</string><key>CFName</key><string>" +
        name + "</string><key>Data</key><data>" + table.toBase64() +
        "</data><key>ID</key><string>0</string><key>Name</key><string>" + name +
        "</string></dict></array></dict></dict></plist>\n";

    const auto dataSize = static_cast<std::uint64_t>(data.size());
    QByteArray trailer =
        "koly" + u32(4) + u32(512) + u32(1) + u64(0) + u64(0) + u64(dataSize) + u64(0) + u64(0);
    trailer += u32(1) + u32(1) + QByteArray(16, '\x5A') + checksum(data);
    trailer += u64(dataSize) + u64(static_cast<std::uint64_t>(plist.size())) + QByteArray(120, '\0');
    trailer += checksum(u32(crc32(volume))) + u32(1) + u64(sectors) + QByteArray(12, '\0');
    return data + plist + trailer;
}

QByteArray hfsPlusVolumeOf(const QString &folder, const QString &volumeName) {
    QTemporaryDir scratch;
    const QString hybrid = scratch.filePath(QStringLiteral("hybrid.iso"));
    QProcess xorriso;
    xorriso.start(
        QStringLiteral("xorriso"),
        {QStringLiteral("-as"), QStringLiteral("mkisofs"), QStringLiteral("-quiet"),
         QStringLiteral("-hfsplus"), QStringLiteral("-V"), volumeName, QStringLiteral("-o"), hybrid, folder});
    if (!xorriso.waitForFinished(60'000) || xorriso.exitCode() != 0)
        return {};
    QFile file(hybrid);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    // The Apple partition map begins in the second sector, one entry in each; the volume is one of the
    // partitions.
    const QByteArray all = file.readAll();
    for (qsizetype entry = sector; all.mid(entry, 2) == "PM"; entry += sector) {
        if (!all.mid(entry + 48, 32).startsWith("Apple_HFS"))
            continue;
        const auto start = qFromBigEndian<std::uint32_t>(all.constData() + entry + 8);
        const auto count = qFromBigEndian<std::uint32_t>(all.constData() + entry + 12);
        return all.mid(qsizetype{start} * sector, qsizetype{count} * sector);
    }
    return {};
}

}  // namespace ferrolt

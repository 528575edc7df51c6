#pragma once

#include <QByteArray>
#include <QString>

namespace ferrolt {

enum class UdifBlocks { Zlib, Raw };

/// Wraps a volume into a UDIF disk image, as a Mac's tool writes one: the volume in blocks of 512 KiB, a
/// property list that says where each lies, and the 512-byte trailer that begins with "koly".
QByteArray udifImage(const QByteArray &volume, UdifBlocks blocks,
                     const QString &partition = QStringLiteral("Apple_HFS"));

/// The HFS+ volume that holds what is below `folder`, as xorriso writes it. An empty array if xorriso is
/// missing or fails.
QByteArray hfsPlusVolumeOf(const QString &folder, const QString &volumeName);

}  // namespace ferrolt

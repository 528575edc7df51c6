#include "TestApfsVolume.h"

#include <QtEndian>

#include <algorithm>

namespace ferrolt {

namespace {

// Larger than the usual 4096, so that one leaf holds all.
constexpr std::uint32_t blockSize = 32768;
constexpr std::uint64_t transaction = 1;

enum Block : std::uint64_t {
    Container,
    ContainerMap,
    ContainerMapTree,
    Volume,
    VolumeMap,
    VolumeMapTree,
    FileTree,
    Content
};
constexpr std::uint64_t volumeObject = 1026;
constexpr std::uint64_t fileTreeObject = 1028;

template <class Number>
QByteArray little(Number value) {
    QByteArray bytes(sizeof value, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}
QByteArray u16(std::uint64_t value) {
    return little(static_cast<std::uint16_t>(value));
}
QByteArray u32(std::uint64_t value) {
    return little(static_cast<std::uint32_t>(value));
}
QByteArray u64(std::uint64_t value) {
    return little(value);
}
QByteArray zeros(qsizetype count) {
    return QByteArray(count, '\0');
}

QByteArray padded(QByteArray bytes, qsizetype multiple) {
    return bytes + zeros((multiple - bytes.size() % multiple) % multiple);
}

std::uint64_t fletcher(const QByteArray &bytes) {
    std::uint64_t a = 0;
    std::uint64_t b = 0;
    for (qsizetype i = 0; i < bytes.size(); i += 4) {
        a += qFromLittleEndian<std::uint32_t>(bytes.constData() + i);
        b += a;
    }
    constexpr std::uint64_t modulus = 0xFFFFFFFF;
    a %= modulus;
    b %= modulus;
    const std::uint64_t low = modulus - (a + b) % modulus;
    return (modulus - (a + low) % modulus) << 32 | low;
}

/// A block's object: header with checksum, then `body`. The container's checksum covers its first 4096 bytes
/// only.
QByteArray object(std::uint64_t id, std::uint32_t type, std::uint32_t subtype, const QByteArray &body,
                  qsizetype summed = blockSize) {
    QByteArray rest = u64(id) + u64(transaction) + u32(type) + u32(subtype) + body;
    rest += zeros(blockSize - 8 - rest.size());
    return u64(fletcher(rest.left(summed - 8))) + rest;
}

struct Record {
    std::uint64_t order = 0;  ///< object id and type as the key begins with
    QByteArray key;
    QByteArray value;
};

/// A B-tree of one node.
QByteArray tree(std::uint64_t id, std::uint32_t type, std::uint32_t subtype,
                const std::vector<Record> &records, std::uint32_t fixedSize) {
    const bool isFixed = fixedSize != 0;
    QByteArray toc;
    QByteArray keys;
    QByteArray values;  // the first value stands last
    for (const Record &record : records) {
        const auto keyOffset = static_cast<std::uint64_t>(keys.size());
        keys += record.key;
        values = record.value + values;
        const auto valueOffset = static_cast<std::uint64_t>(values.size());
        if (isFixed)
            toc += u16(keyOffset) + u16(valueOffset);
        else
            toc += u16(keyOffset) + u16(static_cast<std::uint64_t>(record.key.size())) + u16(valueOffset) +
                   u16(static_cast<std::uint64_t>(record.value.size()));
    }
    const std::uint32_t flags = isFixed ? 7 : 3;  // root, leaf, fixed sizes
    QByteArray body = u16(flags) + u16(0) + u32(records.size()) + u16(0) +
                      u16(static_cast<std::uint64_t>(toc.size())) + zeros(12) + toc + keys;
    const QByteArray info = u32(isFixed ? 0x10 : 0) + u32(blockSize) + u32(fixedSize) + u32(fixedSize) +
                            u32(fixedSize) + u32(fixedSize) + u64(records.size()) + u64(1);
    body += zeros(blockSize - 32 - body.size() - values.size() - info.size()) + values + info;
    return object(id, type, subtype, body);
}

QByteArray objectMap(Block place, Block treePlace) {
    return object(place, 0x4000000B, 0, zeros(16) + u64(treePlace));
}

QByteArray objectMapTree(Block place, std::uint64_t objectId, Block objectPlace) {
    return tree(place, 0x40000002, 0xB,
                {{0, u64(objectId) + u64(transaction), u32(0) + u32(blockSize) + u64(objectPlace)}}, 16);
}

QByteArray extendedFields(const std::vector<std::pair<int, QByteArray>> &fields) {
    QByteArray heads;
    QByteArray data;
    for (const auto &[type, value] : fields) {
        heads +=
            QByteArray(1, static_cast<char>(type)) + zeros(1) + u16(static_cast<std::uint64_t>(value.size()));
        data += padded(value, 8);
    }
    return u16(fields.size()) + u16(static_cast<std::uint64_t>(data.size())) + heads + data;
}

}  // namespace

TestApfsVolume::Id TestApfsVolume::add(Id parent, const QString &name, std::uint16_t mode,
                                       const QByteArray &data) {
    nodes.push_back({nextId, parent, name.toUtf8(), mode, data});
    return nextId++;
}

TestApfsVolume::Id TestApfsVolume::addFolder(Id parent, const QString &name, std::uint16_t mode) {
    return add(parent, name, mode, {});
}
TestApfsVolume::Id TestApfsVolume::addFile(Id parent, const QString &name, const QByteArray &data,
                                           std::uint16_t mode) {
    return add(parent, name, mode, data);
}
TestApfsVolume::Id TestApfsVolume::addLink(Id parent, const QString &name, const QByteArray &target) {
    return add(parent, name, 0120755, target);
}

QByteArray TestApfsVolume::bytes() const {
    std::vector<Record> records;
    QByteArray content;
    const auto record = [&](Id id, std::uint64_t type, const QByteArray &keyRest, const QByteArray &value) {
        const std::uint64_t head = id | type << 60;
        records.push_back({id << 4 | type, u64(head) + keyRest, value});
    };
    std::vector<Node> all = nodes;
    all.push_back({rootFolder, 1, "root", 0040755, {}});
    for (const Node &node : all) {
        const std::uint64_t format = node.mode >> 12;
        const bool isFile = format == 8;
        std::vector<std::pair<int, QByteArray>> fields{{4, node.name + '\0'}};
        const auto size = static_cast<std::uint64_t>(node.data.size());
        const auto stored = static_cast<std::uint64_t>(padded(node.data, blockSize).size());
        if (isFile && size > 0)
            fields.push_back({8, u64(size) + u64(stored) + u64(0) + u64(size) + u64(0)});
        record(node.id, 3, {},
               u64(node.parent) + u64(node.id) + zeros(32) + u64(0) + u32(1) + u32(0) + u32(0) + u32(0) +
                   u32(99) + u32(99) + u16(node.mode) + u16(0) + u64(0) + extendedFields(fields));
        if (format == 10) {
            const QByteArray name = QByteArray("com.apple.fs.symlink") + '\0';
            record(node.id, 4, u16(static_cast<std::uint64_t>(name.size())) + name,
                   u16(2) + u16(size + 1) + node.data + '\0');
        }
        if (isFile && size > 0) {
            record(
                node.id, 8, u64(0),
                u64(stored) + u64(Content + static_cast<std::uint64_t>(content.size()) / blockSize) + u64(0));
            content += padded(node.data, blockSize);
        }
        if (node.id != rootFolder)
            record(node.parent, 9, u32(static_cast<std::uint64_t>(node.name.size()) + 1) + node.name + '\0',
                   u64(node.id) + u64(0) + u16(format));
    }
    std::stable_sort(records.begin(), records.end(),
                     [](const Record &a, const Record &b) { return a.order < b.order; });

    const std::uint64_t blockCount = Content + static_cast<std::uint64_t>(content.size()) / blockSize;
    const QByteArray container = "NXSB" + u32(blockSize) + u64(blockCount) + zeros(0xA0 - 0x30) +
                                 u64(ContainerMap) + zeros(0xB4 - 0xA8) + u32(1) + u64(volumeObject);
    const QByteArray volume = "APSB" + u32(0) + zeros(0x38 - 0x28) + u64(1) + zeros(0x80 - 0x40) +
                              u64(VolumeMap) + u64(fileTreeObject) + zeros(0x2C0 - 0x90) + "LibreOffice";
    return object(1, 0x80000001, 0, container, 4096) + objectMap(ContainerMap, ContainerMapTree) +
           objectMapTree(ContainerMapTree, volumeObject, Volume) + object(volumeObject, 0xD, 0, volume) +
           objectMap(VolumeMap, VolumeMapTree) + objectMapTree(VolumeMapTree, fileTreeObject, FileTree) +
           tree(fileTreeObject, 0x2, 0xE, records, 0) + content;
}

}  // namespace ferrolt

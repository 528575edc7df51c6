#include "TestHfsVolume.h"

#include <algorithm>

namespace ferrolt {

namespace {

constexpr std::uint32_t blockSize = 4096;
constexpr qsizetype nodeSize = 4096;
// Boot blocks and volume header, allocation file, extents file; then the catalog, then the content.
constexpr std::uint32_t allocationBlock = 1;
constexpr std::uint32_t extentsBlock = 2;
constexpr std::uint32_t firstFreeBlock = 3;

/// Big-endian numbers, one after the other.
class Writer {
  public:
    Writer &u8(std::uint8_t value) { return number(value, 1); }
    Writer &u16(std::uint16_t value) { return number(value, 2); }
    Writer &u32(std::uint32_t value) { return number(value, 4); }
    Writer &u64(std::uint64_t value) { return number(value, 8); }
    Writer &zeros(qsizetype count) {
        out.append(count, '\0');
        return *this;
    }
    Writer &raw(const QByteArray &bytes) {
        out.append(bytes);
        return *this;
    }
    Writer &text(const QString &value) {
        u16(static_cast<std::uint16_t>(value.size()));
        for (const QChar unit : value)
            u16(unit.unicode());
        return *this;
    }
    const QByteArray &bytes() const { return out; }

  private:
    Writer &number(std::uint64_t value, int width) {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
            out.append(static_cast<char>(value >> shift));
        return *this;
    }
    QByteArray out;
};

std::uint32_t blocksFor(qsizetype size) {
    return static_cast<std::uint32_t>((static_cast<std::uint64_t>(size) + blockSize - 1) / blockSize);
}

QByteArray padded(QByteArray bytes, qsizetype multiple) {
    bytes.append((multiple - bytes.size() % multiple) % multiple, '\0');
    return bytes;
}

QByteArray fork(std::uint64_t size, std::uint32_t start, std::uint32_t blocks) {
    Writer out;
    out.u64(size).u32(0).u32(blocks);
    out.u32(blocks == 0 ? 0 : start).u32(blocks).zeros(7 * 8);
    return out.bytes();
}

struct TreeNode {
    std::uint8_t kind = 0xFF;  // a leaf
    std::vector<QByteArray> records;
    std::uint32_t next = 0;
    std::uint32_t previous = 0;

    qsizetype size() const {
        qsizetype total = 14 + 2;
        for (const QByteArray &record : records)
            total += record.size() + 2;
        return total;
    }
    QByteArray bytes() const {
        Writer out;
        out.u32(next).u32(previous).u8(kind).u8(kind == 0xFF ? 1 : 0);
        out.u16(static_cast<std::uint16_t>(records.size())).u16(0);
        Writer offsets;
        std::vector<std::uint16_t> positions;
        for (const QByteArray &record : records) {
            positions.push_back(static_cast<std::uint16_t>(out.bytes().size()));
            out.raw(record);
        }
        positions.push_back(static_cast<std::uint16_t>(out.bytes().size()));
        for (auto position = positions.rbegin(); position != positions.rend(); ++position)
            offsets.u16(*position);
        out.zeros(nodeSize - out.bytes().size() - offsets.bytes().size()).raw(offsets.bytes());
        return out.bytes();
    }
};

/// A B-tree file: the header node and the leaves.
QByteArray tree(const std::vector<QByteArray> &records, std::uint16_t longestKey) {
    std::vector<TreeNode> leaves;
    for (const QByteArray &record : records) {
        if (leaves.empty() || leaves.back().size() + record.size() + 2 > nodeSize)
            leaves.emplace_back();
        leaves.back().records.push_back(record);
    }
    const auto count = static_cast<std::uint32_t>(leaves.size());
    for (std::uint32_t i = 0; i < count; ++i) {
        leaves[i].next = i + 1 < count ? i + 2 : 0;
        leaves[i].previous = i;
    }
    Writer header;
    header.u16(count > 0 ? 1 : 0).u32(count > 0 ? 1 : 0).u32(static_cast<std::uint32_t>(records.size()));
    header.u32(count > 0 ? 1 : 0).u32(count).u16(nodeSize).u16(longestKey).u32(count + 1).u32(0).u16(0);
    header.u32(blockSize).u8(0).u8(0xCF).u32(6).zeros(64);
    TreeNode first{1,
                   {header.bytes(), QByteArray(128, '\0'), QByteArray(nodeSize - 14 - 106 - 128 - 8, '\0')}};
    QByteArray out = first.bytes();
    for (const TreeNode &leaf : leaves)
        out.append(leaf.bytes());
    return out;
}

QByteArray key(TestHfsVolume::Id parent, const QString &name) {
    Writer out;
    out.u16(static_cast<std::uint16_t>(6 + 2 * name.size())).u32(parent).text(name);
    return out.bytes();
}

constexpr std::uint32_t someTime = 3'800'000'000;  // seconds since 1904

}  // namespace

TestHfsVolume::TestHfsVolume(const QString &name) {
    nodes.push_back({.id = rootFolder, .parent = 1, .name = name, .mode = 0040755, .isFolder = true});
}

TestHfsVolume::Id TestHfsVolume::add(Node node) {
    node.id = nextId++;
    nodes.push_back(std::move(node));
    return nodes.back().id;
}

TestHfsVolume::Extent TestHfsVolume::store(const QByteArray &data) {
    const Extent extent{blocksFor(content.size()), blocksFor(data.size()),
                        static_cast<std::uint64_t>(data.size())};
    content.append(padded(data, blockSize));
    return extent;
}

TestHfsVolume::Id TestHfsVolume::addFolder(Id parent, const QString &name, std::uint16_t mode) {
    return add({.parent = parent, .name = name, .mode = mode, .isFolder = true});
}

TestHfsVolume::Id TestHfsVolume::addFile(Id parent, const QString &name, const QByteArray &data,
                                         std::uint16_t mode) {
    return add({.parent = parent, .name = name, .mode = mode, .data = store(data)});
}

TestHfsVolume::Id TestHfsVolume::addLink(Id parent, const QString &name, const QByteArray &target) {
    return add({.parent = parent, .name = name, .mode = 0120755, .data = store(target)});
}

TestHfsVolume::Id TestHfsVolume::addTwin(Id parent, const QString &name, Id original) {
    const auto found =
        std::find_if(nodes.begin(), nodes.end(), [&](const Node &n) { return n.id == original; });
    Node twin = *found;
    twin.parent = parent;
    twin.name = name;
    return add(std::move(twin));
}

void TestHfsVolume::setResourceFork(Id file, const QByteArray &data) {
    for (Node &node : nodes)
        if (node.id == file)
            node.resource = store(data);
}

QByteArray TestHfsVolume::catalog() const {
    struct Record {
        Id parent;
        QByteArray bytes;
    };
    std::vector<Record> records;
    // How many blocks the catalog takes must be known before the content has a place, so it is sized first
    // with all content at block 0; the size of a record does not depend on the place.
    for (const Node &node : nodes) {
        Writer out;
        out.raw(key(node.parent, node.name));
        out.u16(node.isFolder ? 1 : 2).u16(2).u32(0).u32(node.id);
        for (int date = 0; date < 5; ++date)
            out.u32(someTime);
        const bool isLink = (node.mode & 0170000) == 0120000;
        out.u32(99).u32(99).u8(0).u8(0).u16(node.mode).u32(1);
        out.raw(isLink ? QByteArray("slnkrhap") : QByteArray(8, '\0')).zeros(8 + 16).u32(0).u32(0);
        if (!node.isFolder) {
            out.raw(fork(node.data.size, node.data.start, node.data.blocks));
            out.raw(fork(node.resource.size, node.resource.start, node.resource.blocks));
        }
        records.push_back({node.parent, out.bytes()});
        Writer thread;
        thread.raw(key(node.id, {})).u16(node.isFolder ? 3 : 4).u16(0).u32(node.parent).text(node.name);
        records.push_back({node.id, thread.bytes()});
    }
    std::stable_sort(records.begin(), records.end(),
                     [](const Record &a, const Record &b) { return a.parent < b.parent; });
    std::vector<QByteArray> sorted;
    for (const Record &record : records)
        sorted.push_back(record.bytes);
    return tree(sorted, 516);
}

QByteArray TestHfsVolume::bytes() const {
    const std::uint32_t catalogBlocks = blocksFor(catalog().size());
    TestHfsVolume placed = *this;
    for (Node &node : placed.nodes) {
        node.data.start += firstFreeBlock + catalogBlocks;
        node.resource.start += firstFreeBlock + catalogBlocks;
    }
    const std::uint32_t total = firstFreeBlock + catalogBlocks + blocksFor(content.size()) + 1;
    std::uint32_t folders = 0;
    for (const Node &node : nodes)
        folders += node.isFolder ? 1 : 0;

    Writer header;
    header.raw("H+").u16(4).u32(0x100).raw("test").u32(0);
    header.u32(someTime).u32(someTime).u32(0).u32(someTime);
    header.u32(static_cast<std::uint32_t>(nodes.size()) - folders).u32(folders - 1);
    header.u32(blockSize).u32(total).u32(0).u32(0).u32(0).u32(0).u32(nextId).u32(0).u64(1).zeros(32);
    header.raw(fork(blockSize, allocationBlock, 1));
    header.raw(fork(blockSize, extentsBlock, 1));
    header.raw(fork(std::uint64_t{catalogBlocks} * blockSize, firstFreeBlock, catalogBlocks));
    header.raw(fork(0, 0, 0)).raw(fork(0, 0, 0));

    QByteArray out(1024, '\0');
    out.append(header.bytes());
    out = padded(out, blockSize);
    QByteArray allocation;
    for (std::uint32_t block = 0; block < total; block += 8)
        allocation.append(static_cast<char>(total - block >= 8 ? 0xFF : 0xFF << (8 - (total - block))));
    out.append(padded(allocation, blockSize).left(blockSize));
    out.append(tree({}, 10));
    out.append(padded(placed.catalog(), blockSize));
    out.append(content);
    out.append(QByteArray(blockSize - 1024, '\0') + header.bytes() + QByteArray(512, '\0'));
    return out;
}

}  // namespace ferrolt

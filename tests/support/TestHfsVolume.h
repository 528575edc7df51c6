#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

namespace ferrolt {

/// Writes HFS+ volumes, also such as no computer would: two entries of one name, a folder called "..", a link
/// with a namesake folder behind it. Layout: Apple Technical Note TN1150. The catalog has leaves only, which
/// is what a reader of all entries goes through. Small volumes only: all of it is built in memory.
class TestHfsVolume {
  public:
    using Id = std::uint32_t;
    static constexpr Id rootFolder = 2;

    explicit TestHfsVolume(const QString &name);

    /// `name` is stored as it is: HFS+ readers expect it decomposed. Modes are whole, as stat gives them.
    Id addFolder(Id parent, const QString &name, std::uint16_t mode = 0040755);
    Id addFile(Id parent, const QString &name, const QByteArray &data, std::uint16_t mode = 0100644);
    Id addLink(Id parent, const QString &name, const QByteArray &target);
    /// A file whose content is that of `original`, stored once: a small volume that unpacks to a large one.
    Id addTwin(Id parent, const QString &name, Id original);
    void setResourceFork(Id file, const QByteArray &data);

    QByteArray bytes() const;

  private:
    struct Extent {
        std::uint32_t start = 0;
        std::uint32_t blocks = 0;
        std::uint64_t size = 0;
    };
    struct Node {
        Id id = 0;
        Id parent = 0;
        QString name;
        std::uint16_t mode = 0;
        bool isFolder = false;
        Extent data = {};
        Extent resource = {};
    };

    Extent store(const QByteArray &data);
    Id add(Node node);
    QByteArray catalog() const;

    std::vector<Node> nodes;
    QByteArray content;  ///< of all files, each beginning at a block
    Id nextId = 16;
};

}  // namespace ferrolt

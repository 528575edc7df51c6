#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

namespace ferrolt {

/// Writes APFS containers with one volume, just large enough for a reader: the object maps and one leaf of
/// the file system tree, so a few dozen entries. Layout: Apple File System Reference.
class TestApfsVolume {
  public:
    using Id = std::uint64_t;
    static constexpr Id rootFolder = 2;

    Id addFolder(Id parent, const QString &name, std::uint16_t mode = 0040755);
    Id addFile(Id parent, const QString &name, const QByteArray &data, std::uint16_t mode = 0100644);
    Id addLink(Id parent, const QString &name, const QByteArray &target);

    QByteArray bytes() const;

  private:
    struct Node {
        Id id = 0;
        Id parent = 0;
        QByteArray name;
        std::uint16_t mode = 0;
        QByteArray data;  ///< a file's content or a link's target
    };
    Id add(Id parent, const QString &name, std::uint16_t mode, const QByteArray &data);

    std::vector<Node> nodes;
    Id nextId = 16;
};

}  // namespace ferrolt

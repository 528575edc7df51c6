#include "Expect.h"
#include "PlainListing.h"
#include "RemoveTree.h"
#include "VolumeUnpacker.h"

#include <QByteArrayView>
#include <QTemporaryDir>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

using Kind = ImageEntry::Kind;

/// A folder, a file or a link; by path, as a tree.
struct Node {
    Kind kind;
    uint permissions;
    QByteArray content;  ///< of a file; a link's target
    bool operator==(const Node &) const = default;
};
using Tree = std::map<QByteArray, Node>;

/// A folder with what an image may write, "mnt", and what it may not.
class Surroundings {
  public:
    Surroundings() : path(folder.path().toStdString()) {
        fs::create_directories(path / "mnt");
        fs::create_directories(path / "victim/folder");
        std::ofstream(path / "victim/file") << "precious";
        fs::permissions(path / "victim/file", fs::perms(0640));
        before = treeIn(path / "victim");
    }
    fs::path mountPoint() const { return path / "mnt"; }
    bool areUntouched() const {
        const auto count = std::distance(fs::directory_iterator(path), fs::directory_iterator());
        return count == 2 && treeIn(path / "victim") == before;
    }

    static Tree treeIn(const fs::path &top) {
        Tree tree;
        for (const auto &entry : fs::recursive_directory_iterator(top)) {
            const std::string name = entry.path().string().substr(top.string().size() + 1);
            struct stat status {};
            expect(lstat(entry.path().c_str(), &status) == 0);
            Node node{Kind::Folder, status.st_mode & 07777U, {}};
            if (S_ISLNK(status.st_mode))
                node = {Kind::Link, 0, QByteArray::fromStdString(fs::read_symlink(entry.path()).string())};
            else if (S_ISREG(status.st_mode))
                node = {Kind::File, node.permissions, contentOf(entry.path())};
            else
                expect(S_ISDIR(status.st_mode));
            tree[QByteArray::fromStdString(name)] = node;
        }
        return tree;
    }

  private:
    static QByteArray contentOf(const fs::path &file) {
        std::ifstream stream(file, std::ios::binary);
        const std::string content(std::istreambuf_iterator<char>(stream), {});
        return QByteArray::fromStdString(content);
    }

    QTemporaryDir folder;
    fs::path path;
    Tree before;
};

/// The tree that an image describes; nothing if it cannot be made. Paths lead through no link, and each
/// exists once.
std::optional<Tree> describedTree(const QList<plain::ListedEntry> &entries, QByteArray contents) {
    Tree tree;
    for (const auto &entry : entries) {
        Node node{entry.kind, entry.permissions, {}};
        if (entry.kind == Kind::Folder)
            node.permissions |= 0500;
        if (entry.kind == Kind::File)
            node.permissions |= 0400;
        if (entry.kind == Kind::Link)
            node.permissions = 0;
        if (entry.kind != Kind::Folder) {
            if (entry.size > static_cast<quint64>(contents.size()))
                return std::nullopt;
            node.content = contents.left(static_cast<qsizetype>(entry.size));
            contents.remove(0, node.content.size());
        }
        if (entry.kind == Kind::Link && node.content.endsWith('\0'))
            node.content.chop(1);
        if (entry.kind == Kind::Link &&
            (node.content.isEmpty() || node.content.contains('\0') || node.content.size() > 4095))
            return std::nullopt;
        if (!tree.emplace(entry.path, node).second)
            return std::nullopt;
    }
    for (const auto &[path, node] : tree) {
        QByteArrayList components = path.split('/');
        for (const QByteArray &component : components)
            if (component.size() > 255)
                return std::nullopt;
        components.removeLast();
        const auto parent = tree.find(components.join('/'));
        if (!components.isEmpty() && (parent == tree.end() || parent->second.kind != Kind::Folder))
            return std::nullopt;
    }
    return contents.isEmpty() ? std::optional(tree) : std::nullopt;
}

/// Feeds the listing in pieces of this size.
std::optional<std::vector<ImageEntry>> parse(QByteArrayView text, qsizetype pieceSize) {
    ImageListing listing;
    for (; !text.isEmpty(); text = text.sliced(std::min(pieceSize, text.size())))
        if (!listing.feed(
                std::string_view(text.data(), static_cast<std::size_t>(std::min(pieceSize, text.size())))))
            return std::nullopt;
    return listing.take();
}

bool areEqual(const std::vector<ImageEntry> &entries, const QList<plain::ListedEntry> &plainEntries) {
    return std::equal(entries.begin(), entries.end(), plainEntries.begin(), plainEntries.end(),
                      [](const ImageEntry &entry, const plain::ListedEntry &plainEntry) {
                          return entry.kind == plainEntry.kind && entry.size == plainEntry.size &&
                                 entry.permissions == plainEntry.permissions &&
                                 QByteArray::fromStdString(entry.path) == plainEntry.path;
                      });
}

void unpack(const Surroundings &surroundings, const std::vector<ImageEntry> &entries,
            const std::optional<Tree> &described, QByteArrayView contents, std::size_t readSize) {
    FileDescriptor root(
        open(surroundings.mountPoint().c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const auto read = [&](std::span<char> buffer) {
        const std::size_t count =
            std::min({buffer.size(), readSize, static_cast<std::size_t>(contents.size())});
        std::copy_n(contents.begin(), count, buffer.begin());
        contents = contents.sliced(static_cast<qsizetype>(count));
        return static_cast<ssize_t>(count);
    };
    expect(VolumeUnpacker(std::move(root), read, 0, {}).unpack(entries) == described.has_value());
    if (described)
        expect(Surroundings::treeIn(surroundings.mountPoint()) == *described);
    expect(surroundings.areUntouched());
    expect(emptyFolder(surroundings.mountPoint()));
    expect(surroundings.areUntouched());
}

}  // namespace

/// Parses a listing and compares with the plain rules; unpacks what it lists, and compares with the tree that
/// it describes and with what was around it. The input: a byte for the size of the pieces that are read; the
/// listing; after a line "contents" the contents of the files and links. Without that line they are as many
/// bytes as the listing asks for.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const Surroundings surroundings;
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    if (input.isEmpty())
        return 0;
    const qsizetype pieceSize = 1 + static_cast<uchar>(input[0]);
    const QByteArray separator = "\ncontents\n";
    const qsizetype end = input.indexOf(separator);
    const QByteArray listing = input.mid(1, end < 0 ? -1 : end - 1);

    const auto plainEntries = plain::listing(listing);
    const auto entries = parse(listing, pieceSize);
    expect(entries.has_value() == plainEntries.has_value());
    if (!entries)
        return 0;
    expect(areEqual(*entries, *plainEntries));

    QByteArray contents = end < 0 ? QByteArray() : input.mid(end + separator.size());
    if (end < 0)
        for (const auto &entry : *plainEntries)
            contents += QByteArray("../victim/")
                            .repeated(7)
                            .left(static_cast<qsizetype>(std::min<quint64>(entry.size, 70)));
    unpack(surroundings, *entries, describedTree(*plainEntries, contents), contents,
           static_cast<std::size_t>(pieceSize));
    return 0;
}

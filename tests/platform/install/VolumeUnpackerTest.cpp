#include "FileDescriptor.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"
#include "VolumeUnpacker.h"

#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>

using namespace ferrolt;
namespace fs = std::filesystem;

/// Listings and contents that no sound image has, and a folder that is changed while it is filled.
class VolumeUnpackerTest : public QObject {
    Q_OBJECT

    using Kind = ImageEntry::Kind;

    std::unique_ptr<QTemporaryDir> scratch;
    fs::path root;

    static ImageEntry entry(Kind kind, const std::string &path, std::uint64_t size = 0) {
        ImageEntry made;
        made.kind = kind;
        made.path = path;
        made.size = size;
        made.permissions = 0755;
        return made;
    }

    /// Unpacks these entries. The contents come in one piece, and then `end` is what the archiver's pipe
    /// answers; both reads call `onRead` first.
    bool unpack(
        const std::vector<ImageEntry> &entries, const std::string &contents, ssize_t end = 0,
        const std::function<void()> &onRead = [] {}) const {
        bool isRead = false;
        const auto read = [&](std::span<char> buffer) -> ssize_t {
            onRead();
            if (std::exchange(isRead, true) || contents.empty())
                return end;
            std::copy(contents.begin(), contents.end(), buffer.begin());
            return static_cast<ssize_t>(contents.size());
        };
        const ToolRunner::Progress none;
        VolumeUnpacker unpacker(FileDescriptor(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)), read,
                                contents.size(), none);
        return unpacker.unpack(entries);
    }

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        root = scratch->path().toStdString();
    }

    void aWholeVolumeIsUnpacked() {
        QVERIFY(unpack({entry(Kind::Folder, "a"), entry(Kind::File, "a/file", 4),
                        entry(Kind::Link, "a/link", 4), entry(Kind::Folder, "a/b")},
                       "textfile"));
        QCOMPARE(readFile(root / "a/link"), QByteArray("text"));
        QVERIFY(fs::is_directory(root / "a/b"));
    }

    void anEntryWithoutItsFolderIsRefused_data() {
        QTest::addColumn<int>("kind");
        QTest::newRow("folder") << static_cast<int>(Kind::Folder);
        QTest::newRow("file") << static_cast<int>(Kind::File);
        QTest::newRow("link") << static_cast<int>(Kind::Link);
    }
    void anEntryWithoutItsFolderIsRefused() {
        QFETCH(int, kind);
        QVERIFY(!unpack({entry(static_cast<Kind>(kind), "missing/entry", 1)}, "x"));
        QVERIFY(fs::is_empty(root));
    }

    void aFolderWhoseNameNoFileSystemTakesIsRefused() {
        QVERIFY(!unpack({entry(Kind::Folder, std::string(256, 'n'))}, ""));
        QVERIFY(fs::is_empty(root));
    }

    void contentsMustBeAsLongAsListed_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<int>("end");
        QTest::newRow("a file is cut") << static_cast<int>(Kind::File) << QByteArray("abc") << 0;
        QTest::newRow("a link is cut") << static_cast<int>(Kind::Link) << QByteArray("abc") << 0;
        QTest::newRow("bytes are left over") << static_cast<int>(Kind::File) << QByteArray("abcde") << 0;
        QTest::newRow("the pipe breaks at its end")
            << static_cast<int>(Kind::File) << QByteArray("abcd") << -1;
    }
    void contentsMustBeAsLongAsListed() {
        QFETCH(int, kind);
        QFETCH(QByteArray, contents);
        QFETCH(int, end);
        QVERIFY(!unpack({entry(static_cast<Kind>(kind), "entry", 4)}, contents.toStdString(), end));
    }

    /// The folders' permissions are set last.
    void aFolderThatVanishesMeanwhileIsAFailure_data() {
        QTest::addColumn<QString>("vanishing");
        QTest::newRow("the folder") << "outer/inner";
        QTest::newRow("the one above it") << "outer";
    }
    void aFolderThatVanishesMeanwhileIsAFailure() {
        QFETCH(QString, vanishing);
        QVERIFY(!unpack(
            {entry(Kind::Folder, "outer"), entry(Kind::Folder, "outer/inner"), entry(Kind::File, "file", 1)},
            "x", 0, [&] { fs::remove_all(root / vanishing.toStdString()); }));
        QCOMPARE(readFile(root / "file"), QByteArray("x"));
    }
};

TEST_CLASS(VolumeUnpackerTest, QCoreApplication)
#include "VolumeUnpackerTest.moc"

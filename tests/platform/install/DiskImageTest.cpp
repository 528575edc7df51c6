#include "Background.h"
#include "DiskImage.h"
#include "ProcessFacts.h"
#include "ProcessSetup.h"
#include "TestApfsVolume.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"
#include "Waiting.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace ferrolt;
namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

QByteArray incompressible(qsizetype size) {
    QByteArray bytes(size, '\0');
    quint32 state = 1;
    for (char &byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

/// The contents of the images as a tree on disk.
void makeApplication(const fs::path &folder) {
    const fs::path contents = folder / "LibreOffice.app/Contents";
    fs::create_directories(contents / "MacOS");
    fs::create_directories(contents / "Resources/empty");
    writeFile(contents / "MacOS/soffice", "#!/bin/sh\nexit 0\n");
    fs::permissions(contents / "MacOS/soffice", fs::perms(0755));
    writeFile(contents / "Resources/large.bin", incompressible(1'500'000));
    fs::permissions(contents / "Resources/large.bin", fs::perms(0644));
    writeFile(contents / "Resources/nothing", {});
    fs::permissions(contents / "Resources/nothing", fs::perms(0600));
    writeFile(contents / "Resources/R\u00e9sum\u00e9 \u00fc.txt", "accents");
    fs::permissions(contents / "Resources/R\u00e9sum\u00e9 \u00fc.txt", fs::perms(0444));
    fs::create_symlink("../MacOS/soffice", contents / "Resources/relative");
    fs::create_symlink("R\u00e9sum\u00e9 \u00fc.txt", contents / "Resources/accented");
    fs::create_symlink("/nowhere/at/all", contents / "Resources/dangling");
    fs::create_symlink("/Applications", folder / "Applications");
    for (const char *name : {"", "Contents", "Contents/MacOS", "Contents/Resources"})
        fs::permissions(folder / "LibreOffice.app" / name, fs::perms(0755));
    fs::permissions(contents / "Resources/empty", fs::perms(0500));
}

/// The same as an APFS volume, whose names are not decomposed.
QByteArray apfsVolumeOf(const fs::path &folder) {
    TestApfsVolume volume;
    std::map<std::string, TestApfsVolume::Id> ids{{"", TestApfsVolume::rootFolder}};
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder)) {
        const fs::path path = entry.path().lexically_relative(folder);
        const auto parent = ids.at(path.parent_path().string());
        const QString name = QString::fromStdString(path.filename().string());
        struct stat status {};
        lstat(entry.path().c_str(), &status);
        if (S_ISLNK(status.st_mode))
            volume.addLink(parent, name, QByteArray::fromStdString(fs::read_symlink(entry.path()).string()));
        else if (S_ISDIR(status.st_mode))
            ids[path.string()] = volume.addFolder(parent, name, static_cast<quint16>(status.st_mode));
        else
            volume.addFile(parent, name, readFile(entry.path()), static_cast<quint16>(status.st_mode));
    }
    return volume.bytes();
}

}  // namespace

class DiskImageTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> scratch;
    fs::path folder;
    fs::path mountPoint;
    fs::path image;

    bool unpack(const fs::path &archiver, const fs::path &target, const ToolRunner::Progress &progress = {}) {
        return inBackground([&] { return DiskImage({archiver}).attach(image, target, progress); });
    }
    bool attach(const QByteArray &content, const ToolRunner::Progress &progress = {}) {
        writeFile(image, content);
        return unpack(DiskImage::systemArchiver(), mountPoint, progress);
    }
    void refused(const QByteArray &content) {
        QVERIFY(!attach(content));
        QVERIFY(fs::is_empty(mountPoint));
    }
    /// Attaches with a shell script as the archiver, which can misbehave in any way.
    bool attachWith(const QByteArray &list, const QByteArray &extract,
                    std::chrono::milliseconds timeout = 1min) {
        const fs::path archiver = folder / "archiver";
        writeScript(archiver, "case $1 in\nl)\n" + list + "\n;;\nx)\n" + extract + "\n;;\nesac\n");
        writeFile(image, "image");
        return inBackground([&] { return DiskImage({archiver, timeout, 300ms}).attach(image, mountPoint); });
    }
    static QByteArray listing(const QByteArray &entries) {
        return "cat <<'END'\n--\nPath = image\nType = APFS\n\n----------\n" + entries + "END";
    }
    /// timeout(1) kills its whole process group and so itself: the archiver may end a moment after it.
    bool archiverIsGone() const {
        const int archiver = readFile(folder / "pid").trimmed().toInt();
        return waitWithoutEvents([&] { return !isAlive(archiver); });
    }
    /// One file of five bytes.
    static QByteArray smallFile() { return listing("Path = file\nSize = 5\nMode = -rw-r--r--\n\n"); }

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        folder = scratch->path().toStdString();
        mountPoint = folder / "mnt";
        image = folder / "LibreOffice.dmg";
        fs::create_directory(mountPoint);
    }
    void cleanup() {
        inBackground([&] { return DiskImage::detach(mountPoint); });
        scratch.reset();
    }

    void everyKindOfImageGivesTheApplicationAsItWas_data() {
        QTest::addColumn<QByteArray>("content");
        QTemporaryDir source;
        makeApplication(source.path().toStdString());
        const QByteArray hfs = hfsPlusVolumeOf(source.path(), QStringLiteral("LibreOffice \u00e9"));
        const QByteArray apfs = apfsVolumeOf(source.path().toStdString());
        QVERIFY2(!hfs.isEmpty(), "xorriso is needed to write an HFS+ volume");
        QTest::newRow("HFS+ in UDIF, compressed") << udifImage(hfs, UdifBlocks::Zlib);
        QTest::newRow("HFS+ in UDIF, raw") << udifImage(hfs, UdifBlocks::Raw);
        QTest::newRow("HFS+ bare") << hfs;
        QTest::newRow("APFS in UDIF, compressed")
            << udifImage(apfs, UdifBlocks::Zlib, QStringLiteral("Apple_APFS"));
        QTest::newRow("APFS in UDIF, raw") << udifImage(apfs, UdifBlocks::Raw, QStringLiteral("Apple_APFS"));
        QTest::newRow("APFS bare") << apfs;
    }
    void everyKindOfImageGivesTheApplicationAsItWas() {
        QFETCH(QByteArray, content);
        std::uint64_t done = 0;
        std::uint64_t total = 0;
        QVERIFY(attach(content, [&](std::uint64_t now, std::uint64_t all) {
            done = now;
            total = all;
        }));
        QTemporaryDir source;
        makeApplication(source.path().toStdString());
        QCOMPARE(treeDifference(treeSnapshot(mountPoint), treeSnapshot(source.path().toStdString())),
                 QByteArray());
        QCOMPARE(fs::read_symlink(mountPoint / "Applications"), fs::path("/Applications"));
        QVERIFY(total > 1'500'000);
        QCOMPARE(done, total);

        QVERIFY(inBackground([&] { return DiskImage::detach(mountPoint); }));
        QVERIFY(fs::is_empty(mountPoint));
    }

    void decomposedNamesComeComposedAndOthersAsTheyAre() {
        TestHfsVolume volume(QStringLiteral("Volume e\u0301"));
        const auto app = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("LibreOffice.app"));
        volume.addFile(app, QStringLiteral("e\u0301"), "1");
        // HFS+ never decomposes these two, though Unicode would compose the first and unify the second.
        volume.addFile(app, QStringLiteral("\u212b"), "2");
        volume.addFile(app, QStringLiteral("\uf900"), "3");
        QVERIFY(attach(volume.bytes()));
        QCOMPARE(readFile(mountPoint / "LibreOffice.app/\u00e9"), QByteArray("1"));
        QCOMPARE(readFile(mountPoint / "LibreOffice.app/\u212b"), QByteArray("2"));
        QCOMPARE(readFile(mountPoint / "LibreOffice.app/\uf900"), QByteArray("3"));
    }

    void aNameLosesNeitherAFirstMarkNorALastHalfOfACharacter() {
        const QByteArray names[] = {"\xEF\xBB\xBFmark", "half\xE2\x84"};
        QByteArray entries = "Path = Volume\nFolder = +\n\n";
        for (const QByteArray &name : names)
            entries += "Path = Volume/" + name + "\nSize = 1\nMode = -rw-r--r--\n\n";
        QVERIFY(attachWith(listing(entries).replace("APFS", "HFS"), "printf 12"));
        for (const QByteArray &name : names)
            QVERIFY2(treeSnapshot(mountPoint).contains(name.toStdString()), name);
    }

    void resourceForksAndSetUserIdAreLeftBehind() {
        TestHfsVolume volume(QStringLiteral("Volume"));
        const auto file = volume.addFile(TestHfsVolume::rootFolder, QStringLiteral("first"), "one", 0106755);
        volume.setResourceFork(file, "not to be mistaken for the next file");
        volume.addFile(TestHfsVolume::rootFolder, QStringLiteral("second"), "two", 0100640);
        QVERIFY(attach(volume.bytes()));
        const auto tree = treeSnapshot(mountPoint);
        QCOMPARE(tree.size(), std::size_t{2});
        QVERIFY(tree.at("first").starts_with("100755 "));
        QVERIFY(tree.at("second").starts_with("100640 "));
        QCOMPARE(readFile(mountPoint / "second"), QByteArray("two"));
    }

    void aVolumeWithoutModesGetsUsualOnes() {
        TestHfsVolume volume(QStringLiteral("Volume"));
        const auto inner = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("folder"), 0);
        volume.addFile(inner, QStringLiteral("file"), "content", 0);
        QVERIFY(attach(volume.bytes()));
        const auto tree = treeSnapshot(mountPoint);
        QCOMPARE(tree.at("folder"), std::string("40755"));
        QVERIFY(tree.at("folder/file").starts_with("100644 "));
    }

    void aChildThatIsListedBeforeItsFolderIsUnpackedToo() {
        TestHfsVolume hfs(QStringLiteral("Volume"));
        // The inner folder has the smaller id, so its children are listed before the outer folder's.
        const auto inner = hfs.addFolder(17, QStringLiteral("inner"));
        const auto outer = hfs.addFolder(TestHfsVolume::rootFolder, QStringLiteral("outer"));
        QCOMPARE(outer, TestHfsVolume::Id{17});
        hfs.addFile(inner, QStringLiteral("file"), "deep");
        QVERIFY(attach(hfs.bytes()));
        QCOMPARE(readFile(mountPoint / "outer/inner/file"), QByteArray("deep"));
    }

    // Hostile images.

    void noLinkOfTheImageIsWrittenThrough() {
        const fs::path victim = folder / "victim";
        fs::create_directory(victim);
        writeFile(victim / "passwd", "precious");
        const auto before = treeSnapshot(victim);
        const QByteArray target = QByteArray::fromStdString(victim.string());

        for (const bool linkFirst : {true, false}) {
            TestHfsVolume volume(QStringLiteral("Volume"));
            if (linkFirst)
                volume.addLink(TestHfsVolume::rootFolder, QStringLiteral("a"), target);
            const auto namesake = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("a"));
            volume.addFile(namesake, QStringLiteral("passwd"), "owned");
            volume.addFile(namesake, QStringLiteral("new"), "owned");
            if (!linkFirst)
                volume.addLink(TestHfsVolume::rootFolder, QStringLiteral("a"), target);
            refused(udifImage(volume.bytes(), UdifBlocks::Zlib));
            QCOMPARE(treeDifference(treeSnapshot(victim), before), QByteArray());
        }

        TestHfsVolume file(QStringLiteral("Volume"));
        file.addLink(TestHfsVolume::rootFolder, QStringLiteral("a"), target + "/passwd");
        file.addFile(TestHfsVolume::rootFolder, QStringLiteral("a"), "owned");
        refused(file.bytes());
        QCOMPARE(treeDifference(treeSnapshot(victim), before), QByteArray());

        QVERIFY(
            !attachWith(listing("Path = a\nSize = " + QByteArray::number(target.size()) +
                                "\nMode = lrwxr-xr-x\n\nPath = a/passwd\nSize = 5\nMode = -rw-r--r--\n\n"),
                        "printf %s '" + target + "owned'"));
        QVERIFY(fs::is_empty(mountPoint));
        QCOMPARE(treeDifference(treeSnapshot(victim), before), QByteArray());
    }

    void anEntryThatClimbsOutIsRefused_data() {
        QTest::addColumn<QByteArray>("content");
        TestHfsVolume hfs(QStringLiteral("Volume"));
        const auto up = hfs.addFolder(TestHfsVolume::rootFolder, QStringLiteral(".."));
        hfs.addFile(up, QStringLiteral("escaped"), "outside");
        QTest::newRow("HFS+ folder ..") << hfs.bytes();
        TestHfsVolume single(QStringLiteral("Volume"));
        single.addFile(TestHfsVolume::rootFolder, QStringLiteral(".."), "outside");
        QTest::newRow("HFS+ file ..") << single.bytes();
        TestHfsVolume dot(QStringLiteral("Volume"));
        dot.addFolder(TestHfsVolume::rootFolder, QStringLiteral("."));
        QTest::newRow("HFS+ folder .") << dot.bytes();
        TestHfsVolume named(QStringLiteral(".."));
        named.addFile(TestHfsVolume::rootFolder, QStringLiteral("escaped"), "outside");
        QTest::newRow("HFS+ volume ..") << named.bytes();
        TestHfsVolume orphan(QStringLiteral("Volume"));
        orphan.addFile(4711, QStringLiteral("escaped"), "outside");
        QTest::newRow("HFS+ file without a folder") << orphan.bytes();
        TestApfsVolume apfs;
        const auto above = apfs.addFolder(TestApfsVolume::rootFolder, QStringLiteral(".."));
        apfs.addFile(above, QStringLiteral("escaped"), "outside");
        QTest::newRow("APFS folder ..")
            << udifImage(apfs.bytes(), UdifBlocks::Zlib, QStringLiteral("Apple_APFS"));
    }
    void anEntryThatClimbsOutIsRefused() {
        QFETCH(QByteArray, content);
        refused(content);
        QVERIFY(!fs::exists(folder / "escaped"));
        QVERIFY(!fs::exists("escaped"));
    }

    void aListedPathThatClimbsOutIsRefused_data() {
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("absolute") << QByteArray("/escaped");
        QTest::newRow("up") << QByteArray("../escaped");
        QTest::newRow("up within") << QByteArray("folder/../../escaped");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("empty component") << QByteArray("folder//escaped");
        QTest::newRow("trailing slash") << QByteArray("escaped/");
        QTest::newRow("too long") << QByteArray("x/").repeated(60) + QByteArray(1000, 'x');
        QTest::newRow("too deep") << QByteArray("x/").repeated(200) + "x";
        QTest::newRow("a line without end") << QByteArray(200'000, 'x');
    }
    void aListedPathThatClimbsOutIsRefused() {
        QFETCH(QByteArray, path);
        QVERIFY(!attachWith(listing("Path = " + path + "\nSize = 5\nMode = -rw-r--r--\n\n"), "printf 12345"));
        QVERIFY(fs::is_empty(mountPoint));
        QVERIFY(!fs::exists(folder / "escaped"));
        QVERIFY(!fs::exists("/escaped"));
    }

    /// Each is the only entry, so that no other fails in its place.
    void anEntryThatCannotBeMadeIsRefused_data() {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QByteArray>("extract");
        QTest::newRow("folder") << QByteArray("Size = 0\nFolder = +\nMode = drwxr-xr-x")
                                << QByteArray("exit 0");
        QTest::newRow("empty file") << QByteArray("Size = 0\nMode = -rw-r--r--") << QByteArray("exit 0");
        QTest::newRow("link") << QByteArray("Size = 1\nMode = lrwxr-xr-x") << QByteArray("printf x");
    }
    void anEntryThatCannotBeMadeIsRefused() {
        QFETCH(QByteArray, lines);
        QFETCH(QByteArray, extract);
        const QByteArray name(256, 'x');  // a file system allows 255 bytes
        QVERIFY(!attachWith(listing("Path = " + name + "\n" + lines + "\n\n"), extract));
        QVERIFY(fs::is_empty(mountPoint));
    }

    void devicesDuplicatesAndHardLinksAreRefused_data() {
        QTest::addColumn<QByteArray>("content");
        for (const int mode : {0020666, 0060666, 0010666, 0140666}) {
            TestHfsVolume special(QStringLiteral("Volume"));
            special.addFile(TestHfsVolume::rootFolder, QStringLiteral("special"), {},
                            static_cast<quint16>(mode));
            QTest::addRow("type %o", mode) << special.bytes();
        }
        TestHfsVolume twice(QStringLiteral("Volume"));
        twice.addFile(TestHfsVolume::rootFolder, QStringLiteral("twice"), "1");
        twice.addFile(TestHfsVolume::rootFolder, QStringLiteral("twice"), "2");
        QTest::newRow("a name twice") << twice.bytes();
        TestHfsVolume folders(QStringLiteral("Volume"));
        folders.addFolder(TestHfsVolume::rootFolder, QStringLiteral("twice"));
        folders.addFolder(TestHfsVolume::rootFolder, QStringLiteral("twice"));
        QTest::newRow("a folder twice") << folders.bytes();
        TestHfsVolume spelt(QStringLiteral("Volume"));
        spelt.addFile(TestHfsVolume::rootFolder, QStringLiteral("\u00e9"), "1");
        spelt.addFile(TestHfsVolume::rootFolder, QStringLiteral("e\u0301"), "2");
        QTest::newRow("a name in two spellings") << spelt.bytes();
        TestHfsVolume hard(QStringLiteral("Volume"));
        const auto hidden = hard.addFolder(TestHfsVolume::rootFolder,
                                           QString(4, QChar(0)) + QStringLiteral("HFS+ Private Data"));
        hard.addFile(hidden, QStringLiteral("iNode100"), "what the empty file should hold");
        hard.addFile(TestHfsVolume::rootFolder, QStringLiteral("linked"), {});
        QTest::newRow("an HFS+ hard link") << hard.bytes();
        TestHfsVolume endless(QStringLiteral("Volume"));
        endless.addLink(TestHfsVolume::rootFolder, QStringLiteral("link"), QByteArray(5000, 'x'));
        QTest::newRow("a link's target too long") << endless.bytes();
        TestHfsVolume empty(QStringLiteral("Volume"));
        empty.addLink(TestHfsVolume::rootFolder, QStringLiteral("link"), {});
        QTest::newRow("a link to nothing") << empty.bytes();
        TestHfsVolume cut(QStringLiteral("Volume"));
        cut.addLink(TestHfsVolume::rootFolder, QStringLiteral("link"), QByteArray("a\0b", 3));
        QTest::newRow("a link's target with a zero byte") << cut.bytes();
    }
    void devicesDuplicatesAndHardLinksAreRefused() {
        QFETCH(QByteArray, content);
        refused(content);
    }

    void moreThanEightGibibytesAreRefusedBeforeAnythingIsUnpacked() {
        TestHfsVolume volume(QStringLiteral("Volume"));
        const auto original = volume.addFile(TestHfsVolume::rootFolder, QStringLiteral("0"),
                                             QByteArray(32 * 1024 * 1024, '\0'));
        for (int twin = 1; twin <= 256; ++twin)
            volume.addTwin(TestHfsVolume::rootFolder, QString::number(twin), original);
        const QByteArray content = udifImage(volume.bytes(), UdifBlocks::Zlib);
        QVERIFY(content.size() < 1024 * 1024);
        bool began = false;
        QVERIFY(!attach(content, [&](std::uint64_t, std::uint64_t) { began = true; }));
        QVERIFY(!began);
        QVERIFY(fs::is_empty(mountPoint));
    }

    void aSizeThatOverflowsIsRefused() {
        const QByteArray half = "Size = 9223372036854775808\nMode = -rw-r--r--\n\n";
        QVERIFY(!attachWith(listing("Path = a\n" + half + "Path = b\n" + half + "Path = c\nSize = 1\n\n"),
                            "printf 1"));
        QVERIFY(
            !attachWith(listing("Path = a\nSize = 99999999999999999999\nMode = -rw-r--r--\n\n"), "printf 1"));
        QVERIFY(!attachWith(listing("Path = a\nSize = -1\nMode = -rw-r--r--\n\n"), "printf 1"));
        QVERIFY(fs::is_empty(mountPoint));
    }

    void whatUnpacksToMoreThanItSaidIsStoppedWhileItRuns() {
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!attachWith(smallFile(), "printf 12345\nexec cat /dev/zero"));
        QVERIFY(fs::is_empty(mountPoint));
        QVERIFY(clock.elapsed() < 10'000);
    }

    void whatUnpacksToLessThanItSaidIsRefused() {
        QVERIFY(!attachWith(smallFile(), "printf 1234"));
        QVERIFY(fs::is_empty(mountPoint));
    }

    void theContentsAreThoseOfTheListedEntriesInTheirOrder() {
        QVERIFY(attachWith(
            listing("Path = b\nSize = 2\nMode = -rw-r--r--\n\nPath = a\nSize = 3\nMode = -rw-------\n\n"),
            "printf 12345"));
        QCOMPARE(readFile(mountPoint / "b"), QByteArray("12"));
        QCOMPARE(readFile(mountPoint / "a"), QByteArray("345"));
    }

    void anArchiverThatIsKilledOrFailsLeavesNothing_data() {
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<QByteArray>("extract");
        QTest::newRow("killed while unpacking") << smallFile() << QByteArray("printf 123; kill -9 $$");
        QTest::newRow("killed at the end") << smallFile() << QByteArray("printf 12345; kill -9 $$");
        QTest::newRow("killed while listing") << smallFile() + "\nkill -9 $$" << QByteArray("printf 12345");
        QTest::newRow("failed at the end") << smallFile() << QByteArray("printf 12345; exit 2");
        QTest::newRow("failed after listing") << smallFile() + "\nexit 2" << QByteArray("printf 12345");
        QTest::newRow("says nothing") << QByteArray() << QByteArray();
    }
    void anArchiverThatIsKilledOrFailsLeavesNothing() {
        QFETCH(QByteArray, list);
        QFETCH(QByteArray, extract);
        QVERIFY(!attachWith(list, extract));
        QVERIFY(fs::is_empty(mountPoint));
    }

    void anArchiverThatNeverEndsIsKilled_data() {
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<QByteArray>("extract");
        const QByteArray hang = "trap '' TERM PIPE; while :; do sleep 1; done";
        QTest::newRow("unpacking") << smallFile() << "printf 123; " + hang;
        QTest::newRow("at the end") << smallFile() << "printf 12345; exec >&-; " + hang;
    }
    void anArchiverThatNeverEndsIsKilled() {
        QFETCH(QByteArray, list);
        QFETCH(QByteArray, extract);
        const QByteArray note = "echo $$ >'" + QByteArray::fromStdString((folder / "pid").string()) + "'\n";
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!attachWith(note + list, note + extract, 1s));
        QVERIFY(clock.elapsed() < 30'000);
        QVERIFY(fs::is_empty(mountPoint));
        QVERIFY(archiverIsGone());
    }

    void anArchiverThatIgnoresTheTerminateRequestIsKilled() {
        // Its listing is refused at once; it ignores SIGTERM and SIGPIPE.
        const QByteArray note = "echo $$ >'" + QByteArray::fromStdString((folder / "pid").string()) + "'\n";
        // coreutils 9.1 leaves its child alone when a signal comes before it has returned from its fork,
        // which a busy machine can put off. Asleep, it has.
        const QByteArray whenTimeoutIsReady = "until grep -q 'State:.S' /proc/$PPID/status; do :; done\n";
        QVERIFY(!attachWith(note + whenTimeoutIsReady +
                                listing("Path = ../escaped\nSize = 5\nMode = -rw-r--r--\n\n") +
                                "\ntrap '' TERM PIPE; while :; do sleep 1; done",
                            "printf 12345"));
        QVERIFY(archiverIsGone());
    }

    void theSystemsOwnArchiverComesBeforeTheSearchPaths() {
        const QByteArray searchPath = qgetenv("PATH");
        writeScript(folder / "7zz", "exit 0");
        qputenv("PATH", QByteArray::fromStdString(folder.string()) + ":" + searchPath);
        const fs::path found = DiskImage::systemArchiver();
        qputenv("PATH", searchPath);
        if (!fs::exists("/usr/bin/7zz") && !fs::exists("/usr/bin/7z"))
            QSKIP("7-Zip is not in /usr/bin here");
        QCOMPARE(found.parent_path(), fs::path("/usr/bin"));
    }

    void theOwnerCanReadEverythingWhateverItsModeIs() {
        QVERIFY(attachWith(listing("Path = folder\nSize = 0\nFolder = +\nMode = d---------\n\n"
                                   "Path = folder/file\nSize = 5\nMode = -----w----\n\n"),
                           "printf 12345"));
        const auto tree = treeSnapshot(mountPoint);
        QCOMPARE(tree.at("folder"), std::string("40500"));
        QVERIFY(tree.at("folder/file").starts_with("100420 "));
    }

    void theArchiverHasAMemoryLimitAndGetsNoNewPrivileges() {
        const QByteArray note = "{ ulimit -v; grep NoNewPrivs /proc/$$/status; } >>'" +
                                QByteArray::fromStdString((folder / "limits").string()) + "'\n";
        QVERIFY(attachWith(note + smallFile(), note + "printf 12345"));
        const QByteArray limits =
            QByteArray::number(qint64{DiskImage::maxArchiverMemory / 1024}) + "\nNoNewPrivs:\t1\n";
        QCOMPARE(readFile(folder / "limits"), limits + limits);
    }

    void anArchiverThatOnlyWarnsIsBelieved() {
        QVERIFY(attachWith(smallFile() + "\nexit 1", "printf 12345\nexit 1"));
        QCOMPARE(readFile(mountPoint / "file"), QByteArray("12345"));
    }

    void withoutAnArchiverNothingCanBeAttached() {
        writeFile(image, "image");
        QVERIFY(!unpack({}, mountPoint));
        QVERIFY(!unpack(folder / "missing", mountPoint));
    }

    void whatIsNoDiskImageIsRefused_data() {
        QTest::addColumn<QByteArray>("content");
        TestHfsVolume volume(QStringLiteral("Volume"));
        volume.addFile(TestHfsVolume::rootFolder, QStringLiteral("file"), incompressible(100'000));
        const QByteArray whole = udifImage(volume.bytes(), UdifBlocks::Zlib);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("a page") << QByteArray("<html>sorry</html>").repeated(1000);
        QTest::newRow("cut") << whole.left(whole.size() / 2);
        QTest::newRow("without its beginning") << whole.mid(50'000);
        QByteArray damaged = whole;
        damaged[5000] = static_cast<char>(damaged[5000] ^ 0x55);
        QTest::newRow("damaged") << damaged;
        QTest::newRow("compressed text") << qCompress("text");
    }
    void whatIsNoDiskImageIsRefused() {
        QFETCH(QByteArray, content);
        refused(content);
    }

    void anArchiveOfAnotherKindIsRefused() {
        // A tar archive is a block of a header and blocks of content; this one is whole.
        fs::create_directories(folder / "source/LibreOffice.app");
        writeFile(folder / "source/LibreOffice.app/file", "content");
        const auto tar =
            "tar -C '" + (folder / "source").string() + "' -cf '" + image.string() + "' LibreOffice.app";
        QCOMPARE(std::system(tar.c_str()), 0);
        QVERIFY(!unpack(DiskImage::systemArchiver(), mountPoint));
        QVERIFY(fs::is_empty(mountPoint));
    }

    void aFullDiskInTheMiddleLeavesNothing() {
        TestHfsVolume volume(QStringLiteral("Volume"));
        volume.addFile(TestHfsVolume::rootFolder, QStringLiteral("small"), "small");
        volume.addFile(TestHfsVolume::rootFolder, QStringLiteral("large"), QByteArray(3'000'000, 'x'));
        writeFile(image, udifImage(volume.bytes(), UdifBlocks::Zlib));
        setUpProcess();
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit small{1'000'000, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        const bool attached = unpack(DiskImage::systemArchiver(), mountPoint);
        setrlimit(RLIMIT_FSIZE, &before);
        QVERIFY(!attached);
        QVERIFY(fs::is_empty(mountPoint));
    }

    void aMountPointThatIsInUseIsLeftAlone() {
        writeFile(mountPoint / "mine", "precious");
        TestHfsVolume volume(QStringLiteral("Volume"));
        volume.addFile(TestHfsVolume::rootFolder, QStringLiteral("mine"), "theirs");
        QVERIFY(!attach(volume.bytes()));
        QCOMPARE(readFile(mountPoint / "mine"), QByteArray("precious"));
        QVERIFY(!unpack(DiskImage::systemArchiver(), folder / "missing"));
    }
};

TEST_CLASS(DiskImageTest, QCoreApplication)
#include "DiskImageTest.moc"

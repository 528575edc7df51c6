#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "ToolRunner.h"
#include "TreeSnapshot.h"

#include <QTemporaryDir>
#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

/// The disk image tool's counterpart on a system that has none.
class DiskImageToolTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> scratch;
    fs::path folder;
    std::shared_ptr<ToolRunner> runner = systemToolRunner();

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        folder = scratch->path().toStdString();
    }

    void theDiskImageToolAttachesAndDetaches() {
        const fs::path image = folder / "LibreOffice.dmg";
        const fs::path mountPoint = folder / "mnt";
        fs::create_directory(mountPoint);
        TestHfsVolume volume(QStringLiteral("LibreOffice"));
        const auto app = volume.addFolder(TestHfsVolume::rootFolder, QStringLiteral("LibreOffice.app"));
        volume.addFile(app, QStringLiteral("file"), "content");
        writeFile(image, udifImage(volume.bytes(), UdifBlocks::Zlib));
        bool told = false;
        QVERIFY(runner->runTool("/usr/bin/hdiutil",
                                {"attach", image.string(), "-mountpoint", mountPoint.string(), "-nobrowse",
                                 "-readonly", "-quiet"},
                                [&](std::uint64_t, std::uint64_t) { told = true; }));
        QVERIFY(told);
        QCOMPARE(readFile(mountPoint / "LibreOffice.app/file"), QByteArray("content"));
        QVERIFY(runner->runTool("/usr/bin/hdiutil", {"detach", mountPoint.string(), "-force"}));
        QVERIFY(fs::is_empty(mountPoint));
    }

    void theDiskImageToolKnowsNoOtherCommands() {
        writeFile(folder / "precious", "x");
        QVERIFY(!runner->runTool("/usr/bin/hdiutil", {}));
        QVERIFY(!runner->runTool("/usr/bin/hdiutil", {"detach", folder.string()}));
        QVERIFY(!runner->runTool("/usr/bin/hdiutil", {"create", folder.string(), "-force"}));
        QVERIFY(!runner->runTool("/usr/bin/hdiutil", {"attach", folder.string()}));
        QVERIFY(fs::exists(folder / "precious"));
    }
};

QTEST_GUILESS_MAIN(DiskImageToolTest)
#include "DiskImageToolTest.moc"

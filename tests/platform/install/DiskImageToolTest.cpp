#include "Background.h"
#include "TestDiskImage.h"
#include "TestHfsVolume.h"
#include "TestProgram.h"
#include "ToolRunner.h"
#include "TreeSnapshot.h"

#include <QTemporaryDir>
#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

/// The emulation of hdiutil.
class DiskImageToolTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> scratch;
    fs::path folder;
    std::shared_ptr<ToolRunner> runner = systemToolRunner();

    bool hdiutil(const std::vector<std::string> &arguments, const ToolRunner::Progress &progress = {}) {
        return inBackground([&] { return runner->runTool("/usr/bin/hdiutil", arguments, progress); });
    }

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
        bool isReported = false;
        QVERIFY(hdiutil({"attach", image.string(), "-mountpoint", mountPoint.string(), "-nobrowse",
                         "-readonly", "-quiet"},
                        [&](std::uint64_t, std::uint64_t) { isReported = true; }));
        QVERIFY(isReported);
        QCOMPARE(readFile(mountPoint / "LibreOffice.app/file"), QByteArray("content"));
        QVERIFY(hdiutil({"detach", mountPoint.string(), "-force"}));
        QVERIFY(fs::is_empty(mountPoint));
    }

    void eachOptionOfTheTwoCommandsIsLookedAt_data() {
        QTest::addColumn<int>("option");
        for (const int option : {0, 2, 4, 5, 6})
            QTest::addRow("attach, argument %d", option) << option;
        QTest::addRow("detach, argument 2") << -2;
    }
    void eachOptionOfTheTwoCommandsIsLookedAt() {
        QFETCH(int, option);
        const fs::path image = folder / "LibreOffice.dmg";
        const fs::path mountPoint = folder / "mnt";
        fs::create_directory(mountPoint);
        TestHfsVolume volume(QStringLiteral("LibreOffice"));
        volume.addFile(TestHfsVolume::rootFolder, QStringLiteral("file"), "content");
        writeFile(image, udifImage(volume.bytes(), UdifBlocks::Zlib));
        std::vector<std::string> attach{"attach",    image.string(), "-mountpoint", mountPoint.string(),
                                        "-nobrowse", "-readonly",    "-quiet"};
        std::vector<std::string> detach{"detach", mountPoint.string(), "-force"};
        if (option >= 0) {
            attach[static_cast<std::size_t>(option)] += "x";
            QVERIFY(!hdiutil(attach));
            QVERIFY(fs::is_empty(mountPoint));
        } else {
            QVERIFY(hdiutil(attach));
            detach[static_cast<std::size_t>(-option)] += "x";
            QVERIFY(!hdiutil(detach));
            QVERIFY(fs::exists(mountPoint / "file"));
        }
    }

    void theDiskImageToolKnowsNoOtherCommands() {
        writeFile(folder / "precious", "x");
        QVERIFY(!hdiutil({}));
        QVERIFY(!hdiutil({"detach", folder.string()}));
        QVERIFY(!hdiutil({"create", folder.string(), "-force"}));
        QVERIFY(!hdiutil({"attach", folder.string()}));
        QVERIFY(fs::exists(folder / "precious"));
    }
};

TEST_CLASS(DiskImageToolTest, QCoreApplication)
#include "DiskImageToolTest.moc"

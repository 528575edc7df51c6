#include "ClientHome.h"
#include "InChild.h"
#include "SaveProps.h"
#include "SmallDisk.h"
#include "TestProgram.h"

#include <QFile>
#include <QTest>

#include <filesystem>

namespace ferrolt {

namespace fs = std::filesystem;

/// Saves to a real file system that is full.
class FullDiskTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void onAFullFileSystemTheOldFileStaysWholeAndTheNextSaveWithRoomSucceeds();
};

void FullDiskTest::onAFullFileSystemTheOldFileStaysWholeAndTheNextSaveWithRoomSucceeds() {
    const ClientHome home;
    const fs::path disk = home.path() / "home";
    fs::create_directory(disk);
    const QByteArray oldFile = "MinerEntityName = old\n" + QByteArray("Key = value\n").repeated(2000);
    const auto fillAndSave = [&] {
        home.writeConfiguration(oldFile);
        {
            QFile filler(QFile::decodeName((disk / "filler").c_str()));
            if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
                return 1;
            while (filler.write(QByteArray(4096, 'x')) > 0) {
            }
        }
        SaveProps::save(QStringLiteral("a@b"), QStringLiteral("Acme"), {});
        if (home.readConfiguration() != oldFile)
            return 2;
        if (ClientHome::contents(home.configuration().parent_path()).size() != 1)
            return 3;
        fs::remove(disk / "filler");
        SaveProps::save(QStringLiteral("a@b"), QStringLiteral("Acme"), {});
        return home.readConfiguration().startsWith("MinerEntityName         = Acme\nKey = value\n") ? 0 : 4;
    };
    constexpr int mayNotMount = 100;
    SmallDisk small(disk, 128 * 1024);
    int code = inChild([&] { return small.mount() ? fillAndSave() : mayNotMount; });
    if (code == mayNotMount) {
        if (!small.useSharedMemory())
            QSKIP("This user may not mount a file system, and /dev/shm is not small.");
        code = inChild(fillAndSave);
    }
    QCOMPARE(code, 0);
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::FullDiskTest, QCoreApplication)
#include "FullDiskTest.moc"

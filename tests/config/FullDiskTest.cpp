#include "ClientHome.h"
#include "InChild.h"
#include "SaveProps.h"

#include <QFile>
#include <QtTest>

#include <filesystem>

#include <sched.h>
#include <sys/mount.h>

namespace ferrolt {

namespace fs = std::filesystem;

/// Saves onto a real file system that has run full: a small one in memory, mounted for one child alone.
class FullDiskTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void onAFullFileSystemTheOldFileStaysWholeAndTheNextSaveWithRoomSucceeds();
};

void FullDiskTest::onAFullFileSystemTheOldFileStaysWholeAndTheNextSaveWithRoomSucceeds() {
    constexpr int mayNotMount = 100;
    const ClientHome home;
    const fs::path mountPoint = home.path() / "home";
    fs::create_directory(mountPoint);
    const QByteArray oldFile = "MinerEntityName = old\n" + QByteArray("Key = value\n").repeated(2000);
    const int code = inChild([&] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", mountPoint.c_str(), "tmpfs", 0, "size=128k") != 0)
            return mayNotMount;
        home.writeConfiguration(oldFile);
        {
            QFile filler(QFile::decodeName((mountPoint / "filler").c_str()));
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
        fs::remove(mountPoint / "filler");
        SaveProps::save(QStringLiteral("a@b"), QStringLiteral("Acme"), {});
        return home.readConfiguration().startsWith("MinerEntityName         = Acme\nKey = value\n") ? 0 : 4;
    });
    if (code == mayNotMount)
        QSKIP("This user may not mount a file system.");
    QCOMPARE(code, 0);
}

}  // namespace ferrolt

QTEST_GUILESS_MAIN(ferrolt::FullDiskTest)
#include "FullDiskTest.moc"

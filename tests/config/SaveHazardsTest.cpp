#include "ClientHome.h"
#include "InChild.h"
#include "ProcessSetup.h"
#include "SaveProps.h"
#include "TestProgram.h"
#include "TextFile.h"

#include <QTest>

#include <filesystem>
#include <optional>

#include <sys/resource.h>
#include <sys/stat.h>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

const QByteArray oldFile =
    "First = 1\nMinerEmailAddress = old\nMinerEntityName = old\nMinerDisplayName = old\nLast = 2\n";

QByteArray fileWith(const QString &email, const QString &entity, const QString &displayName) {
    return "First = 1\nMinerEmailAddress       = " + email.toUtf8() +
           "\nMinerEntityName         = " + entity.toUtf8() +
           "\nMinerDisplayName        = " + displayName.toUtf8() + "\nLast = 2\n";
}

void save() {
    SaveProps::save(email, entity, displayName);
}
const QByteArray newFile = fileWith(email, entity, displayName);

}  // namespace

/// SaveProps::save() when the file system prevents it.
class SaveHazardsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() { home.emplace(); }
    void cleanup() { home.reset(); }

    void onAFullDiskTheOldFileStaysWhole();
    void onAFullDiskAFirstSaveLeavesNothing();
    void inAFolderThatCannotBeWrittenTheOldFileStays();
    void aFileInPlaceOfItsFolderStays();
    void whatIsNoTextStaysAsItIs_data();
    void whatIsNoTextStaysAsItIs();
    void aFileWithoutPermissionStaysAsItIs();
    void aFolderInPlaceOfTheFileStays();
    void aNamedPipeInPlaceOfTheFileStaysAndNobodyWaits();
    void aLinkToADeviceStays();
    void theTargetOfALinkIsWhatIsReplaced();
    void aFolderThatIsALinkIsNoError();
    void permissionsStay_data();
    void permissionsStay();
    void aFileAboutToOutgrowTheReaderStaysAsItIs();
    void nothingIsLeftBesideTheFile();

  private:
    fs::path folder() const { return home->configuration().parent_path(); }
    /// Whether the folder holds the configuration and nothing else.
    bool isAlone() const {
        return ClientHome::contents(folder()) == QStringList{QStringLiteral("MinerClient.properties")};
    }

    std::optional<ClientHome> home;
};

/// To be called in a forked child: files cannot grow beyond `bytes`, as on a full disk.
static bool limitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, bytes};
    setUpProcess();
    return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

void SaveHazardsTest::onAFullDiskTheOldFileStaysWhole() {
    home->writeConfiguration(oldFile);
    for (const rlim_t limit : {rlim_t{0}, rlim_t{1}, static_cast<rlim_t>(newFile.size() - 1)}) {
        const int code = inChild([limit] {
            if (!limitFileSize(limit))
                return 2;
            save();
            return 0;
        });
        QCOMPARE(code, 0);
        QCOMPARE(home->readConfiguration(), oldFile);
        QVERIFY(isAlone());
    }
    QCOMPARE(inChild([] {
                 const bool isLimited = limitFileSize(static_cast<rlim_t>(newFile.size()));
                 save();
                 return isLimited ? 0 : 2;
             }),
             0);
    QCOMPARE(home->readConfiguration(), newFile);
}

void SaveHazardsTest::onAFullDiskAFirstSaveLeavesNothing() {
    QCOMPARE(inChild([] {
                 const bool isLimited = limitFileSize(100);
                 save();
                 return isLimited ? 0 : 2;
             }),
             0);
    QVERIFY(fs::is_directory(folder()));
    QCOMPARE(ClientHome::contents(folder()), QStringList());
}

void SaveHazardsTest::inAFolderThatCannotBeWrittenTheOldFileStays() {
    home->writeConfiguration(oldFile);
    const auto saveAsOrdinaryUser = [] {
        if (!obeyPermissions())
            return 2;
        save();
        return 0;
    };
    fs::permissions(folder(), fs::perms::owner_read | fs::perms::owner_exec);
    QCOMPARE(inChild(saveAsOrdinaryUser), 0);
    QCOMPARE(home->readConfiguration(), oldFile);
    fs::permissions(folder(), fs::perms::owner_all);
    QVERIFY(isAlone());
    QCOMPARE(inChild(saveAsOrdinaryUser), 0);  // only the folder's mode prevented it
    QCOMPARE(home->readConfiguration(), newFile);
}

void SaveHazardsTest::aFileInPlaceOfItsFolderStays() {
    ClientHome::write(folder(), "not a folder");
    save();
    QCOMPARE(ClientHome::read(folder()), QByteArray("not a folder"));
    QCOMPARE(ClientHome::contents(folder().parent_path()), QStringList{QStringLiteral("nodes.test.example")});
}

void SaveHazardsTest::whatIsNoTextStaysAsItIs_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("Latin-1") << oldFile + "Name = M\xFCller\n";
    QTest::newRow("a character cut short") << oldFile + "\xE2\x82";
    QTest::newRow("half a UTF-16 unit") << QByteArray(
        "\xFF\xFE"
        "a\0b",
        5);
    QTest::newRow("UTF-32") << QByteArrayLiteral("\xFF\xFE\0\0a\0\0\0");
}

void SaveHazardsTest::whatIsNoTextStaysAsItIs() {
    QFETCH(QByteArray, bytes);
    home->writeConfiguration(bytes);
    save();
    QCOMPARE(home->readConfiguration(), bytes);
    QVERIFY(isAlone());
}

void SaveHazardsTest::aFileWithoutPermissionStaysAsItIs() {
    home->writeConfiguration(oldFile);
    fs::permissions(home->configuration(), fs::perms::owner_write);
    QCOMPARE(inChild([] {
                 if (!obeyPermissions())
                     return 2;
                 save();
                 return 0;
             }),
             0);
    fs::permissions(home->configuration(), fs::perms::owner_read);
    QCOMPARE(home->readConfiguration(), oldFile);
    QVERIFY(isAlone());
}

void SaveHazardsTest::aFolderInPlaceOfTheFileStays() {
    ClientHome::write(home->configuration() / "inside", "kept");
    save();
    QCOMPARE(ClientHome::read(home->configuration() / "inside"), QByteArray("kept"));
    QVERIFY(isAlone());
    fs::remove(home->configuration() / "inside");  // rename() could replace an empty folder
    save();
    QVERIFY(fs::is_directory(home->configuration()));
    QVERIFY(isAlone());
}

void SaveHazardsTest::aNamedPipeInPlaceOfTheFileStaysAndNobodyWaits() {
    fs::create_directories(folder());
    QCOMPARE(::mkfifo(home->configuration().c_str(), 0600), 0);
    QCOMPARE(inChild([] {
                 save();
                 return 0;
             }),
             0);
    QVERIFY(fs::is_fifo(home->configuration()));
    QVERIFY(isAlone());
}

void SaveHazardsTest::aLinkToADeviceStays() {
    fs::create_directories(folder());
    fs::create_symlink("/dev/zero", home->configuration());
    save();
    QCOMPARE(fs::read_symlink(home->configuration()), fs::path("/dev/zero"));
    QVERIFY(fs::is_character_file("/dev/zero"));
    QVERIFY(isAlone());
}

void SaveHazardsTest::theTargetOfALinkIsWhatIsReplaced() {
    const fs::path target = home->path() / "elsewhere/real.properties";
    ClientHome::write(target, oldFile);
    fs::create_directories(folder());
    fs::create_symlink(target, home->configuration());
    save();
    QCOMPARE(fs::read_symlink(home->configuration()), target);
    QVERIFY(!fs::is_symlink(target));
    QCOMPARE(ClientHome::read(target), newFile);
    QVERIFY(isAlone());
    QCOMPARE(ClientHome::contents(target.parent_path()), QStringList{QStringLiteral("real.properties")});
}

void SaveHazardsTest::aFolderThatIsALinkIsNoError() {
    fs::create_directories(home->path() / "elsewhere");
    fs::create_directories(folder().parent_path());
    fs::create_directory_symlink(home->path() / "elsewhere", folder());
    home->writeConfiguration(oldFile);
    save();
    QCOMPARE(ClientHome::read(home->path() / "elsewhere/MinerClient.properties"), newFile);
    QVERIFY(fs::is_symlink(folder()));
}

void SaveHazardsTest::permissionsStay_data() {
    QTest::addColumn<int>("mode");
    for (const int mode : {0600, 0640, 0644, 0664, 0666, 0700, 0400, 0444})
        QTest::addRow("%03o", mode) << mode;
}

void SaveHazardsTest::permissionsStay() {
    QFETCH(int, mode);
    home->writeConfiguration(oldFile);
    fs::permissions(home->configuration(), static_cast<fs::perms>(mode));
    QCOMPARE(inChild([] {
                 if (!obeyPermissions())
                     return 2;
                 ::umask(077);
                 save();
                 return 0;
             }),
             0);
    QCOMPARE(home->readConfiguration(), newFile);
    QCOMPARE(static_cast<int>(fs::status(home->configuration()).permissions()), mode);
}

void SaveHazardsTest::aFileAboutToOutgrowTheReaderStaysAsItIs() {
    home->writeConfiguration("Key = value\n");
    fs::resize_file(home->configuration(), TextFile::maxSize);  // the rest is a hole, which reads as NULs
    struct stat before {};
    struct stat after {};
    QCOMPARE(::stat(home->configuration().c_str(), &before), 0);
    save();
    QCOMPARE(::stat(home->configuration().c_str(), &after), 0);
    QCOMPARE(after.st_ino, before.st_ino);
    QCOMPARE(static_cast<std::size_t>(after.st_size), TextFile::maxSize);
    QVERIFY(isAlone());
}

void SaveHazardsTest::nothingIsLeftBesideTheFile() {
    for (int round = 0; round < 20; ++round)
        save();
    QVERIFY(isAlone());
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::SaveHazardsTest, QCoreApplication)
#include "SaveHazardsTest.moc"

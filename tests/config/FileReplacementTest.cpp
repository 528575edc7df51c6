#include "ClientHome.h"
#include "FileReplacement.h"
#include "InChild.h"

#include <QtTest>

#include <filesystem>
#include <optional>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace fs = std::filesystem;

class FileReplacementTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() { home.emplace(); }
    void cleanup() { home.reset(); }

    void aNewFileGetsWhatTheMaskLeaves();
    void anOpenFileKeepsItsOldContents();
    void aHardLinkKeepsTheOldContents();
    void aChainOfLinksLeadsToTheFileThatIsReplaced();
    void aRelativeLinkInAFolderThatIsALinkLeadsFromWhereItStands();
    void aLinkToNowhereGetsItsTarget();
    void aLinkIntoAMissingFolderFails();
    void aCircleOfLinksFails();
    void aFolderOrPipeInPlaceOfTheFileFails();
    void aMissingFolderFails();
    void theOwnerStaysWhenTheSystemLetsUs();
    void aNameOfTheGreatestLengthIsNoHindrance();
    void aFolderNameThatIsNotUtf8IsNoHindrance();
    void contentsMayBeEmptyOrLarge();

  private:
    fs::path path() const { return home->path() / "file"; }

    std::optional<ClientHome> home;
};

void FileReplacementTest::aNewFileGetsWhatTheMaskLeaves() {
    const int code = inChild([&] {
        ::umask(027);
        return replaceFile(path(), "new") ? 0 : 1;
    });
    QCOMPARE(code, 0);
    QCOMPARE(static_cast<int>(fs::status(path()).permissions()), 0640);
    QCOMPARE(ClientHome::read(path()), QByteArray("new"));
}

void FileReplacementTest::anOpenFileKeepsItsOldContents() {
    ClientHome::write(path(), "old");
    QFile open(QFile::decodeName(path().c_str()));
    QVERIFY(open.open(QIODevice::ReadOnly));
    QVERIFY(replaceFile(path(), "new"));
    QCOMPARE(open.readAll(), QByteArray("old"));
    QCOMPARE(ClientHome::read(path()), QByteArray("new"));
}

void FileReplacementTest::aHardLinkKeepsTheOldContents() {
    ClientHome::write(path(), "old");
    fs::create_hard_link(path(), home->path() / "second");
    QVERIFY(replaceFile(path(), "new"));
    QCOMPARE(ClientHome::read(home->path() / "second"), QByteArray("old"));
}

void FileReplacementTest::aChainOfLinksLeadsToTheFileThatIsReplaced() {
    ClientHome::write(home->path() / "deep/er/real", "old");
    fs::create_symlink("er/real", home->path() / "deep/relative");  // from its own folder, not from ours
    fs::create_symlink(home->path() / "deep/relative", home->path() / "absolute");
    fs::create_symlink("absolute", path());
    QVERIFY(replaceFile(path(), "new"));
    QCOMPARE(ClientHome::read(home->path() / "deep/er/real"), QByteArray("new"));
    QVERIFY(!fs::is_symlink(home->path() / "deep/er/real"));
    QVERIFY(fs::is_symlink(home->path() / "deep/relative"));
    QVERIFY(fs::is_symlink(home->path() / "absolute"));
    QVERIFY(fs::is_symlink(path()));
}

void FileReplacementTest::aRelativeLinkInAFolderThatIsALinkLeadsFromWhereItStands() {
    ClientHome::write(home->path() / "real/beside/target", "old");
    fs::create_directory(home->path() / "real/folder");
    fs::create_symlink("../beside/target", home->path() / "real/folder/link");
    fs::create_directory_symlink("real/folder", home->path() / "linked");
    QVERIFY(replaceFile(home->path() / "linked/link", "new"));
    QCOMPARE(ClientHome::read(home->path() / "real/beside/target"), QByteArray("new"));
    QVERIFY(fs::is_symlink(home->path() / "real/folder/link"));
}

void FileReplacementTest::aLinkToNowhereGetsItsTarget() {
    fs::create_directory(home->path() / "folder");
    fs::create_symlink("second", path());
    fs::create_symlink("folder/target", home->path() / "second");
    QVERIFY(replaceFile(path(), "new"));
    QVERIFY(fs::is_symlink(path()));
    QVERIFY(fs::is_symlink(home->path() / "second"));
    QCOMPARE(ClientHome::read(home->path() / "folder/target"), QByteArray("new"));
}

void FileReplacementTest::aLinkIntoAMissingFolderFails() {
    fs::create_symlink("no folder/target", path());
    QVERIFY(!replaceFile(path(), "new"));
    QVERIFY(fs::is_symlink(path()));
    QVERIFY(!fs::exists(home->path() / "no folder"));
}

void FileReplacementTest::aCircleOfLinksFails() {
    fs::create_symlink("second", path());
    fs::create_symlink("file", home->path() / "second");
    QVERIFY(!replaceFile(path(), "new"));
    QCOMPARE(ClientHome::contents(home->path()),
             (QStringList{QStringLiteral("file"), QStringLiteral("second")}));
}

void FileReplacementTest::aFolderOrPipeInPlaceOfTheFileFails() {
    fs::create_directory(path());
    QVERIFY(!replaceFile(path(), "new"));
    QVERIFY(fs::is_directory(path()));
    const fs::path pipe = home->path() / "pipe";
    QCOMPARE(::mkfifo(pipe.c_str(), 0600), 0);
    QVERIFY(!replaceFile(pipe, "new"));
    QVERIFY(fs::is_fifo(pipe));
    QCOMPARE(ClientHome::contents(home->path()),
             (QStringList{QStringLiteral("file"), QStringLiteral("pipe")}));
}

void FileReplacementTest::aMissingFolderFails() {
    QVERIFY(!replaceFile(home->path() / "no folder/file", "new"));
    QVERIFY(!fs::exists(home->path() / "no folder"));
}

void FileReplacementTest::theOwnerStaysWhenTheSystemLetsUs() {
    if (::geteuid() != 0)
        QSKIP("Only root may give a file away.");
    ClientHome::write(path(), "old");
    fs::permissions(path(), static_cast<fs::perms>(0640));
    QCOMPARE(::chown(path().c_str(), nobody, nobody), 0);
    QVERIFY(replaceFile(path(), "new"));
    struct stat status {};
    QCOMPARE(::stat(path().c_str(), &status), 0);
    QCOMPARE(status.st_uid, uid_t{nobody});
    QCOMPARE(status.st_gid, gid_t{nobody});
    QCOMPARE(status.st_mode & 07777, mode_t{0640});
}

void FileReplacementTest::aNameOfTheGreatestLengthIsNoHindrance() {
    const fs::path longest = home->path() / std::string(255, 'n');
    ClientHome::write(longest, "old");
    QVERIFY(replaceFile(longest, "new"));
    QCOMPARE(ClientHome::read(longest), QByteArray("new"));
}

void FileReplacementTest::aFolderNameThatIsNotUtf8IsNoHindrance() {
    const fs::path folder = home->path() / "M\xFCller";
    std::error_code failure;
    fs::create_directory(folder, failure);
    if (failure)
        QSKIP("This file system takes names in UTF-8 only.");
    QVERIFY(replaceFile(folder / "file", "new"));
    QCOMPARE(fs::file_size(folder / "file"), std::uintmax_t{3});
    fs::remove_all(folder);  // Qt cannot name it, so the temporary folder could not remove it
}

void FileReplacementTest::contentsMayBeEmptyOrLarge() {
    QVERIFY(replaceFile(path(), ""));
    QCOMPARE(fs::file_size(path()), std::uintmax_t{0});
    const std::string large(50'000'000, 'x');
    QVERIFY(replaceFile(path(), large));
    QVERIFY(ClientHome::read(path()) == QByteArray::fromStdString(large));
}

}  // namespace ferrolt

QTEST_GUILESS_MAIN(ferrolt::FileReplacementTest)
#include "FileReplacementTest.moc"

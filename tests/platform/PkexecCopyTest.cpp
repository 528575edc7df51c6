#include "PkexecCopy.h"
#include "TreeSnapshot.h"

#include <QTemporaryDir>
#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

class PkexecCopyTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> scratch;
    fs::path folder;
    fs::path source;
    fs::path destination;
    fs::path prompt;

    /// A prompt that is answered.
    void promptSays(const QByteArray &commands) { writeScript(prompt, commands); }
    bool copy() { return PkexecCopy(prompt).privilegedCopy(source, destination); }
    bool onlyTheApplicationIsThere() const {
        const auto entries = fs::directory_iterator(destination.parent_path());
        return std::distance(fs::begin(entries), fs::end(entries)) == 1 && fs::exists(destination);
    }

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        folder = scratch->path().toStdString();
        source = folder / "staging/mnt/LibreOffice.app";
        destination = folder / "Applications/LibreOffice.app";
        prompt = folder / "pkexec";
        fs::create_directories(source / "Contents/MacOS");
        writeFile(source / "Contents/MacOS/soffice", "new");
        fs::permissions(source / "Contents/MacOS/soffice", fs::perms(0755));
        writeFile(source / "Contents/PkgInfo", "APPL");
        fs::permissions(source / "Contents/PkgInfo", fs::perms(0604));
        fs::create_symlink("MacOS/soffice", source / "Contents/relative");
        fs::create_symlink("/etc/passwd", source / "Contents/absolute");
        promptSays("exec \"$@\"");
    }

    void theApplicationArrivesWithItsLinksAndModes() {
        QVERIFY(copy());
        QCOMPARE(treeDifference(treeSnapshot(destination), treeSnapshot(source)), QByteArray());
        QVERIFY(onlyTheApplicationIsThere());
    }

    void theOldApplicationIsReplacedWhole() {
        fs::create_directories(destination / "Contents/OldOnly");
        writeFile(destination / "Contents/PkgInfo", "OLD!");
        QVERIFY(copy());
        QCOMPARE(treeDifference(treeSnapshot(destination), treeSnapshot(source)), QByteArray());
        QVERIFY(onlyTheApplicationIsThere());
    }

    void aLinkInTheApplicationsPlaceIsReplacedAndNotFollowed() {
        fs::create_directories(folder / "elsewhere");
        writeFile(folder / "elsewhere/mine", "precious");
        fs::create_directories(destination.parent_path());
        fs::create_directory_symlink(folder / "elsewhere", destination);
        QVERIFY(copy());
        QVERIFY(!fs::is_symlink(destination));
        QCOMPARE(readFile(folder / "elsewhere/mine"), QByteArray("precious"));
        QCOMPARE(treeDifference(treeSnapshot(destination), treeSnapshot(source)), QByteArray());
    }

    void whatAnEarlierCopyLeftUnfinishedIsRemoved() {
        fs::create_directories(destination.parent_path() / ".LibreOffice.app.ferrolt-new/half");
        QVERIFY(copy());
        QVERIFY(onlyTheApplicationIsThere());
        QVERIFY(!fs::exists(destination / "half"));
    }

    void anotherCopyThatIsStillAtWorkMakesNoApplicationWithinTheApplication() {
        // The other one's folder comes back between the removal and the copy.
        promptSays(
            "script=$(printf '%s' \"$3\" | sed 's|/bin/cp|/bin/mkdir \"$new\" \\&\\& /bin/cp|')\n"
            "[ \"$script\" != \"$3\" ] || exit 1\n"
            "shift 3\nexec /bin/sh -c \"$script\" \"$@\"\n");
        QVERIFY(copy());
        QCOMPARE(treeDifference(treeSnapshot(destination), treeSnapshot(source)), QByteArray());
        QVERIFY(onlyTheApplicationIsThere());
    }

    void aRefusedPromptIsAFailure() {
        fs::create_directories(destination);
        promptSays("exit 126");
        QVERIFY(!copy());
        QVERIFY(fs::is_empty(destination));
    }

    void aMissingPromptIsAFailure() {
        fs::remove(prompt);
        QVERIFY(!copy());
        QVERIFY(!fs::exists(destination));
    }

    void aCopyThatFailsLeavesTheOldApplicationAndNothingElse() {
        fs::create_directories(destination);
        writeFile(destination / "old", "old");
        fs::remove_all(source);
        QVERIFY(!copy());
        QCOMPARE(readFile(destination / "old"), QByteArray("old"));
        QVERIFY(onlyTheApplicationIsThere());
    }

    void aCopyThatIsCutOffLeavesTheOldApplication() {
        fs::create_directories(destination);
        writeFile(destination / "old", "old");
        // A disk that fills up: cp is stopped in the middle of a file.
        writeFile(source / "Contents/large", QByteArray(2'000'000, 'x'));
        promptSays("ulimit -f 500\nexec \"$@\"");
        QVERIFY(!copy());
        QCOMPARE(readFile(destination / "old"), QByteArray("old"));
        QVERIFY(onlyTheApplicationIsThere());
    }

    void noPathIsEverReadByTheShell() {
        const fs::path odd = folder / "it's $(touch owned) `touch owned` \"; touch owned; -rf";
        fs::create_directories(odd);
        fs::rename(source, odd / "LibreOffice.app");
        source = odd / "LibreOffice.app";
        destination = odd / "Applications/LibreOffice.app";
        QVERIFY(copy());
        QCOMPARE(treeDifference(treeSnapshot(destination), treeSnapshot(source)), QByteArray());
        QVERIFY(!fs::exists("owned"));
        QVERIFY(!fs::exists(odd / "owned"));
    }

    void theArgumentListIsAlwaysTheSame() {
        promptSays("printf '%s\\n' \"$#\" \"$1\" \"$2\" \"$4\" \"$5\" \"$6\" >'" +
                   QByteArray::fromStdString((folder / "seen").string()) + "'");
        QVERIFY(copy());
        QCOMPARE(readFile(folder / "seen"),
                 QByteArray::fromStdString("8\n/bin/sh\n-c\nferrolt-install\n" + source.string() + "\n" +
                                           destination.string() + "\n"));
    }
};

QTEST_GUILESS_MAIN(PkexecCopyTest)
#include "PkexecCopyTest.moc"

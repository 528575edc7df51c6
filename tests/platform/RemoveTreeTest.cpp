#include "InChild.h"
#include "RemoveTree.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"

#include <QTemporaryDir>
#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

class RemoveTreeTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> scratch;
    fs::path folder;

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        folder = scratch->path().toStdString();
    }

    void aTreeGoesWithAllThatIsInIt() {
        fs::create_directories(folder / "tree/a/b/c");
        writeFile(folder / "tree/a/b/file", "x");
        writeFile(folder / "beside", "stays");
        removeTree(folder / "tree");
        QVERIFY(!fs::exists(folder / "tree"));
        QVERIFY(fs::exists(folder / "beside"));
    }

    void aFileOrALinkGoesAlone() {
        writeFile(folder / "target", "stays");
        fs::create_symlink("target", folder / "link");
        removeTree(folder / "link");
        QVERIFY(!fs::is_symlink(folder / "link"));
        QVERIFY(fs::exists(folder / "target"));
        removeTree(folder / "target");
        QVERIFY(!fs::exists(folder / "target"));
    }

    void noLinkIsFollowed() {
        fs::create_directories(folder / "outside");
        writeFile(folder / "outside/precious", "x");
        fs::permissions(folder / "outside", fs::perms(0755));
        fs::create_directories(folder / "tree");
        fs::create_directory_symlink(folder / "outside", folder / "tree/link");
        fs::create_directory_symlink(folder / "outside", folder / "whole");
        removeTree(folder / "tree");
        removeTree(folder / "whole");
        QVERIFY(!fs::exists(folder / "tree"));
        QVERIFY(fs::exists(folder / "outside/precious"));
        QCOMPARE(fs::status(folder / "outside").permissions(), fs::perms(0755));
        fs::create_directory_symlink(folder / "outside", folder / "again");
        QVERIFY(!emptyFolder(folder / "again"));
        QVERIFY(fs::exists(folder / "outside/precious"));
    }

    void foldersThatMustNotBeWrittenOrReadGoToo() {
        const fs::path tree = folder / "tree";
        const int code = inChild([&] {
            if (!obeyPermissions())
                return 1;
            fs::create_directories(tree / "unwritable/inner");
            fs::create_directories(tree / "unreadable/inner");
            std::error_code failure;
            fs::permissions(tree / "unwritable/inner", fs::perms(0500));
            fs::permissions(tree / "unwritable", fs::perms(0500));
            fs::permissions(tree / "unreadable", fs::perms::none);
            fs::permissions(tree, fs::perms(0500));
            if (fs::remove_all(tree, failure) != static_cast<std::uintmax_t>(-1))
                return 2;  // root ignores permissions; the test would show nothing
            removeTree(tree);
            return fs::exists(tree) ? 3 : 0;
        });
        QCOMPARE(code, 0);
    }

    void anEmptiedFolderStays() {
        fs::create_directories(folder / "tree/a/b");
        writeFile(folder / "tree/file", "x");
        QVERIFY(emptyFolder(folder / "tree"));
        QVERIFY(fs::is_empty(folder / "tree"));
        QVERIFY(!emptyFolder(folder / "missing"));
    }

    void whatIsNotThereIsNoError() { removeTree(folder / "missing/altogether"); }

    void aDeepTreeGoes() {
        fs::path deep = folder / "tree";
        for (int level = 0; level < 200; ++level)
            deep /= "x";
        fs::create_directories(deep);
        removeTree(folder / "tree");
        QVERIFY(!fs::exists(folder / "tree"));
    }
};

TEST_CLASS(RemoveTreeTest, QCoreApplication)
#include "RemoveTreeTest.moc"

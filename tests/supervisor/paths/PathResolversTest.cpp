#include "PathResolvers.h"
#include "TestProgram.h"
#include "TestTree.h"

#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

class PathResolversTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void withoutAHomeTheUsersFilesAreNowhere() {
        const QByteArray home = qgetenv("HOME");
        QVERIFY(qunsetenv("HOME"));
        const PathRoots roots;
        qputenv("HOME", home);
        QCOMPARE(roots.home, fs::path("/nonexistent"));
        QCOMPARE(PathRoots().home, fs::path(home.toStdString()));
    }

    void theInstalledEngineFolderComesFirst() {
        const TestTree tree;
        fs::create_directories(tree.path() / "root/Library/Application Support/Ferrolt/LumoraCore");
        fs::create_directories(tree.path() / "share/Tandril/LumoraCore");
        usePathRoots(tree.roots());
        QCOMPARE(engineFolder(), tree.path() / "root/Library/Application Support/Ferrolt/LumoraCore");
    }

    void theBundledEngineFolderComesSecond() {
        const TestTree tree;
        fs::create_directories(tree.path() / "share/Tandril/LumoraCore");
        usePathRoots(tree.roots());
        QCOMPARE(engineFolder(), tree.path() / "share/Tandril/LumoraCore");
    }

    void withNeitherTheEngineFolderFallsBackToTheDevelopmentFolder() {
        const TestTree tree;
        usePathRoots(tree.roots());
        QCOMPARE(engineFolder(), tree.path() / "dev/Tandril/LumoraCore");
        QCOMPARE(localPropertiesPath(), tree.path() / "dev/Tandril/LumoraCore/Properties/local.properties");
    }

    void theEngineFolderIsExaminedOnEveryCall() {
        const TestTree tree;
        usePathRoots(tree.roots());
        QCOMPARE(engineFolder(), tree.path() / "dev/Tandril/LumoraCore");
        fs::create_directories(tree.path() / "share/Tandril/LumoraCore");
        QCOMPARE(engineFolder(), tree.path() / "share/Tandril/LumoraCore");
    }

    void withoutOrbixUnderMediaEngineTheBinFolderIsBinMediaEngineWhetherOrNotItExists() {
        const TestTree tree;
        QCOMPARE(engineBinFolder(tree.path() / "engine"), tree.path() / "engine/Bin/MediaEngine");
        fs::create_directories(tree.path() / "engine/MediaEngine");
        QCOMPARE(engineBinFolder(tree.path() / "engine"), tree.path() / "engine/Bin/MediaEngine");
        TestTree::write(tree.path() / "engine/MediaEngine/Orbix", "");
        QCOMPARE(engineBinFolder(tree.path() / "engine"), tree.path() / "engine/MediaEngine");
    }

    void theClientBesideTheLauncherComesFirstAndIsLookedUpOnce() {
        const TestTree tree;
        usePathRoots(tree.roots());
        QCOMPARE(clientExecutablePath(), tree.path() / "dev/Client/qorclient");
        TestTree::write(tree.path() / "bin/qorclient", "");
        QCOMPARE(clientExecutablePath(), tree.path() / "dev/Client/qorclient");
        usePathRoots(tree.roots());
        QCOMPARE(clientExecutablePath(), tree.path() / "bin/qorclient");
    }

    void theSharedClientFolderComesFirstAndIsLookedUpOnce() {
        const TestTree tree;
        usePathRoots(tree.roots());
        QCOMPARE(clientWorkingFolder(), tree.path() / "dev/Client");
        fs::create_directories(tree.path() / "root/Users/Shared/Ferrolt/qorclient");
        QCOMPARE(clientWorkingFolder(), tree.path() / "dev/Client");
        usePathRoots(tree.roots());
        QCOMPARE(clientWorkingFolder(), tree.path() / "root/Users/Shared/Ferrolt/qorclient");
    }

    void theClientConfigurationStandsInTheFolderOfTheNodeServer() {
        const TestTree tree;
        usePathRoots(tree.roots());
        QCOMPARE(clientVarFolder(), tree.path() / "home/.qor/nodes.test");
        QCOMPARE(clientConfigurationPath(), tree.path() / "home/.qor/nodes.test/MinerClient.properties");
        QCOMPARE(libreOfficePath(), tree.path() / "root/Applications/LibreOffice.app");
    }

    void aPathThatCannotBeExaminedCountsAsAbsent() {
        const TestTree tree;
        PathRoots roots = tree.roots();
        TestTree::write(tree.path() / "file", "");
        roots.root = tree.path() / "file";                      // a file where a folder should be
        roots.resources = tree.path() / std::string(300, 'n');  // a name that is too long
        usePathRoots(roots);
        QCOMPARE(engineFolder(), tree.path() / "dev/Tandril/LumoraCore");
    }

    void theProductionRootsKnowTheProgramsOwnFolder() {
        QCOMPARE(PathRoots().executableFolder, fs::read_symlink("/proc/self/exe").parent_path());
    }
};

TEST_CLASS(PathResolversTest, QCoreApplication)
#include "PathResolversTest.moc"

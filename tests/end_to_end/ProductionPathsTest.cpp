#include "InstalledTree.h"
#include "Launcher.h"
#include "Listener.h"
#include "PrivateSystem.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QTest>

#include <chrono>
#include <iterator>

using namespace ferrolt;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

fs::path programOf(const ChildFacts &child) {
    return fs::read_symlink("/proc/" + std::to_string(child.id) + "/exe");
}

fs::path folderOf(const ChildFacts &child) {
    return fs::read_symlink("/proc/" + std::to_string(child.id) + "/cwd");
}

QString argumentsOf(const ChildFacts &child) {
    std::ifstream file("/proc/" + std::to_string(child.id) + "/cmdline", std::ios::binary);
    const std::string words(std::istreambuf_iterator<char>(file), {});
    return QString::fromStdString(words).section(QChar(u'\0'), 1).replace(QChar(u'\0'), ' ').trimmed();
}

}  // namespace

/// The built program in a system with the absolute folders of an installation.
class ProductionPathsTest : public QObject {
    Q_OBJECT

  public:
    explicit ProductionPathsTest(std::string trouble) : trouble(std::move(trouble)) {}

  private:
    const std::string trouble;

  private Q_SLOTS:
    void initTestCase() {
        if (!trouble.empty())
            QSKIP(qPrintable("no system of its own can be made here: " + QString::fromStdString(trouble)));
    }

    /// They win over those in the program's resources, which would end at once.
    void theEngineAndTheClientOfAnInstallationRunInItsFolders() {
        const VirtualDesktop desktop;
        QVERIFY2(desktop.failure().isEmpty(), qPrintable(desktop.failure()));
        const fs::path engineFolder = "/Library/Application Support/Ferrolt/LumoraCore";
        const fs::path clientFolder = "/Users/Shared/Ferrolt/qorclient";
        const Listener port;
        TestTree::installChild(engineFolder / "MediaEngine/Orbix", "wait");
        TestTree::write(engineFolder / "Properties/local.properties",
                        "MediaSocketPort = " + std::to_string(port.port) + "\n");
        fs::create_directories(clientFolder);
        const InstalledTree tree("exit 1", "wait");
        tree.writeEnginePort("1");
        Launcher launcher(desktop, tree.executable(), tree.home());
        QVERIFY(waitUntil([&] { return launcher.child("Orbix") && launcher.child("qorclient"); }, 60s));
        const ChildFacts engine = *launcher.child("Orbix");
        const ChildFacts client = *launcher.child("qorclient");
        QCOMPARE(programOf(engine), engineFolder / "MediaEngine/Orbix");
        QCOMPARE(folderOf(engine), engineFolder / "MediaEngine");
        QCOMPARE(argumentsOf(engine), QString());
        QCOMPARE(programOf(client), tree.executable().parent_path() / "qorclient");
        QCOMPARE(folderOf(client), clientFolder);
        QCOMPARE(argumentsOf(client),
                 "--vardir " + QString((tree.home() / ".qor" / FERROLT_NODE_SERVER_HOST).c_str()));
        // The port of the installation's file opened, not that of the resources.
        QCOMPARE(launcher.startAgain(), 0);
        const QString opened =
            QString("Lumora Core is accepting connections on 127.0.0.1:%1;").arg(port.port);
        QVERIFY(waitUntil([&] { return launcher.consoleText("Qor Client").startsWith(opened); }));
    }
};

TEST_MAIN(ProductionPathsTest) {
    return PrivateSystem::run("exit 127\n", [&](const std::string &trouble) {
        QCoreApplication qt(argc, argv);
        ProductionPathsTest test(trouble);
        return QTest::qExec(&test, argc, argv);
    });
}

#include "ProductionPathsTest.moc"

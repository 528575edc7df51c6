#include "Background.h"
#include "TestProgram.h"
#include "ToolRunner.h"
#include "TreeSnapshot.h"

#include <QTemporaryDir>
#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

class ToolRunnerTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> scratch;
    fs::path folder;
    std::shared_ptr<ToolRunner> runner = systemToolRunner();

    bool runTool(const fs::path &executable, const std::vector<std::string> &arguments) {
        return inBackground([&] { return runner->runTool(executable, arguments); });
    }

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        folder = scratch->path().toStdString();
    }

    void aToolThatEndsWithStatusZeroSucceeds() { QVERIFY(runTool("/bin/sh", {"-c", "exit 0"})); }

    void aToolThatFailsOrIsKilledDoesNot() {
        QVERIFY(!runTool("/bin/sh", {"-c", "exit 1"}));
        QVERIFY(!runTool("/bin/sh", {"-c", "exit 128"}));
        QVERIFY(!runTool("/bin/sh", {"-c", "kill -9 $$"}));
        QVERIFY(!runTool("/bin/sh", {"-c", "kill -15 $$"}));
    }

    void aToolThatCannotBeStartedDoesNot() {
        QVERIFY(!runTool(folder / "missing", {}));
        writeFile(folder / "not-executable", "text");
        QVERIFY(!runTool(folder / "not-executable", {}));
        QVERIFY(!runTool(folder, {}));
    }

    void argumentsArriveAsTheyAre() {
        const std::string file = (folder / "seen").string();
        QVERIFY(runTool("/bin/sh", {"-c", "out=$1; shift; printf '<%s>' \"$@\" >\"$out\"", "sh", file, "a b",
                                    "", "$(id)", "'\"\\", "-x"}));
        QCOMPARE(readFile(file), QByteArray("<a b><><$(id)><'\"\\><-x>"));
    }

    void outputGoesNowhereAndInputIsEmpty() {
        QVERIFY(runTool("/bin/sh", {"-c", "head -c 1000000 /dev/zero; head -c 1000000 /dev/zero >&2"}));
        QVERIFY(!runTool("/bin/sh", {"-c", "read line"}));
    }
};

TEST_CLASS(ToolRunnerTest, QCoreApplication)
#include "ToolRunnerTest.moc"

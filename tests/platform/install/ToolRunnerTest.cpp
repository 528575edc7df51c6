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

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        folder = scratch->path().toStdString();
    }

    void aToolThatEndsWithStatusZeroSucceeds() { QVERIFY(runner->runTool("/bin/sh", {"-c", "exit 0"})); }

    void aToolThatFailsOrIsKilledDoesNot() {
        QVERIFY(!runner->runTool("/bin/sh", {"-c", "exit 1"}));
        QVERIFY(!runner->runTool("/bin/sh", {"-c", "exit 128"}));
        QVERIFY(!runner->runTool("/bin/sh", {"-c", "kill -9 $$"}));
        QVERIFY(!runner->runTool("/bin/sh", {"-c", "kill -15 $$"}));
    }

    void aToolThatCannotBeStartedDoesNot() {
        QVERIFY(!runner->runTool(folder / "missing", {}));
        writeFile(folder / "not-executable", "text");
        QVERIFY(!runner->runTool(folder / "not-executable", {}));
        QVERIFY(!runner->runTool(folder, {}));
    }

    void argumentsArriveAsTheyAre() {
        const std::string file = (folder / "seen").string();
        QVERIFY(runner->runTool("/bin/sh", {"-c", "out=$1; shift; printf '<%s>' \"$@\" >\"$out\"", "sh", file,
                                            "a b", "", "$(id)", "'\"\\", "-x"}));
        QCOMPARE(readFile(file), QByteArray("<a b><><$(id)><'\"\\><-x>"));
    }

    void outputGoesNowhereAndInputIsEmpty() {
        QVERIFY(
            runner->runTool("/bin/sh", {"-c", "head -c 1000000 /dev/zero; head -c 1000000 /dev/zero >&2"}));
        QVERIFY(!runner->runTool("/bin/sh", {"-c", "read line"}));
    }
};

QTEST_GUILESS_MAIN(ToolRunnerTest)
#include "ToolRunnerTest.moc"

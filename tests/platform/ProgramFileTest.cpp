#include "ProcessFacts.h"
#include "ProgramFile.h"
#include "TestProgram.h"
#include "TestTree.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <unistd.h>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

/// A program that answers each line on its standard input.
int runAsWatcher() {
    const ProgramFile file;
    std::cout << "ready" << std::endl;
    for (std::string line; std::getline(std::cin, line);) {
        if (line == "start")
            std::cout << (file.startReplacement() ? "failed" : "started") << std::endl;
        else
            std::cout << (file.isReplaced() ? "replaced" : "the same") << std::endl;
    }
    return 0;
}

/// The processes that run this file.
std::vector<pid_t> processesOf(const fs::path &program) {
    std::vector<pid_t> found;
    for (const auto &process : fs::directory_iterator("/proc")) {
        std::error_code notAProcess;
        if (fs::read_symlink(process.path() / "exe", notAProcess) == program)
            found.push_back(static_cast<pid_t>(std::stoi(process.path().filename())));
    }
    return found;
}

/// The program at a path of its own, which can be replaced while it runs.
struct Watcher {
    TestTree tree;
    fs::path program = fs::canonical(tree.path()) / "bin/program";
    QProcess process;

    Watcher() {
        fs::copy_file(fs::read_symlink("/proc/self/exe"), program);
        process.start(program.c_str(), {"ProgramFileTest", "--watch"});
        answer();
    }
    ~Watcher() {
        process.kill();
        process.waitForFinished();
    }

    QByteArray answer() { return process.waitForReadyRead() ? process.readLine().trimmed() : QByteArray(); }
    QByteArray ask(const QByteArray &question) {
        process.write(question + '\n');
        return answer();
    }

    /// As a package manager does it.
    void replaceBy(const fs::path &other) const {
        fs::copy_file(other, program.string() + ".new");
        fs::rename(program.string() + ".new", program);
    }
};

}  // namespace

class ProgramFileTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aProgramWhoseFileIsUntouchedIsNotReplaced() {
        Watcher watcher;
        QCOMPARE(watcher.ask("?"), "the same");
        // Another name of the file, and other times, are no upgrade.
        fs::create_hard_link(watcher.program, watcher.program.string() + ".link");
        fs::last_write_time(watcher.program, fs::file_time_type::clock::now());
        QCOMPARE(watcher.ask("?"), "the same");
    }

    void anotherFileInItsPlaceReplacesIt() {
        Watcher watcher;
        watcher.replaceBy("/bin/true");
        QCOMPARE(watcher.ask("?"), "replaced");
    }

    void theSameBytesInAnotherFileReplaceItToo() {
        Watcher watcher;
        watcher.replaceBy(watcher.program);
        QCOMPARE(watcher.ask("?"), "replaced");
    }

    void aRemovedProgramIsNotReplacedUntilThereIsAnother() {
        Watcher watcher;
        fs::remove(watcher.program);
        QCOMPARE(watcher.ask("?"), "the same");
        QCOMPARE(watcher.ask("start"), "failed");
        watcher.replaceBy("/bin/true");
        QCOMPARE(watcher.ask("?"), "replaced");
    }

    void whatCannotBeExecutedDoesNotReplaceIt_data() {
        QTest::addColumn<QString>("kind");
        QTest::newRow("a file without the right") << "plain";
        QTest::newRow("a folder") << "folder";
        QTest::newRow("a link that leads nowhere") << "link";
    }
    void whatCannotBeExecutedDoesNotReplaceIt() {
        QFETCH(QString, kind);
        Watcher watcher;
        fs::remove(watcher.program);
        if (kind == "plain")
            TestTree::write(watcher.program, "#!/bin/sh\n");
        else if (kind == "folder")
            fs::create_directory(watcher.program);
        else
            fs::create_symlink("nowhere", watcher.program);
        QCOMPARE(watcher.ask("?"), "the same");
    }

    void theReplacementIsStartedTwiceOutlivesTheOldProgramAndInheritsNothing() {
        Watcher watcher;
        TestTree::write(watcher.program.string() + ".behaviour", "wait\n");
        watcher.replaceBy(FERROLT_PRACTICE_CHILD);
        QCOMPARE(watcher.ask("start"), "started");
        const std::vector<pid_t> started = processesOf(watcher.program);
        const auto end = qScopeGuard([&] {
            for (const pid_t process : started)
                kill(process, SIGKILL);
        });
        QCOMPARE(started.size(), 2U);
        for (const pid_t process : started) {
            const std::string facts = "/proc/" + std::to_string(process);
            QCOMPARE(getsid(process), process);
            QCOMPARE(ignoredSignals(process), 0ULL);
            for (const char *descriptor : {"0", "1", "2"})
                QCOMPARE(fs::read_symlink(facts + "/fd/" + descriptor), "/dev/null");
            // While it is loaded the dynamic linker has one library after the other open.
            QVERIFY(waitUntil([&] { return !fs::exists(facts + "/fd/3"); }));
        }
        kill(static_cast<pid_t>(watcher.process.processId()), SIGKILL);
        QVERIFY(watcher.process.waitForFinished());
        QVERIFY(!waitWithoutEvents([&] { return !isAlive(started.at(0)) || !isAlive(started.at(1)); },
                                   std::chrono::milliseconds(300)));
    }
};

TEST_MAIN(ProgramFileTest) {
    if (argc == 2 && std::string(argv[1]) == "--watch")
        return runAsWatcher();
    QCoreApplication application(argc, argv);
    ProgramFileTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ProgramFileTest.moc"

#include "PrivilegedCommand.h"
#include "TestProgram.h"

#include <QProcess>
#include <QTest>

#include <cstring>

using namespace ferrolt;

class PrivilegedCommandTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theCommandRemovesCopiesAndTakesTheQuarantineMarkAway() {
        QCOMPARE(
            privilegedShellCommand("/tmp/x/mnt/LibreOffice.app", "/Applications/LibreOffice.app"),
            std::string("/bin/rm -rf '/Applications/LibreOffice.app' && /usr/bin/ditto "
                        "'/tmp/x/mnt/LibreOffice.app' '/Applications/LibreOffice.app' && /usr/bin/xattr -dr "
                        "com.apple.quarantine '/Applications/LibreOffice.app'"));
    }

    void aPathWithQuotesIsStillOneWord_data() {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("a single quote") << QByteArray("it's");
        QTest::newRow("only single quotes") << QByteArray("''");
        QTest::newRow("what a shell would run") << QByteArray("a'; exit 3; '$(exit 3)`exit 3`\"\\");
        QTest::newRow("a blank and a line break") << QByteArray("a b\nc");
    }
    void aPathWithQuotesIsStillOneWord() {
        QFETCH(QByteArray, name);
        const std::string source = "/tmp/" + name.toStdString();
        // The copying program's place is taken by one that prints what it is given.
        std::string command = privilegedShellCommand(source, "/tmp/to/" + name.toStdString());
        command = command.substr(command.find("/usr/bin/ditto") + std::strlen("/usr/bin/ditto"));
        command = "printf '<%s>'" + command.substr(0, command.find(" && /usr/bin/xattr"));
        QProcess shell;
        shell.start("/bin/sh", {"-c", QString::fromStdString(command)});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(shell.exitCode(), 0);
        QCOMPARE(shell.readAllStandardOutput(), "</tmp/" + name + "></tmp/to/" + name + ">");
    }

    void aSingleQuoteIsWrittenTheOneWayThatShellsKnow() {
        QCOMPARE(privilegedShellCommand("/it's/a", "/b"),
                 std::string("/bin/rm -rf '/b' && /usr/bin/ditto '/it'\\''s/a' '/b' && /usr/bin/xattr -dr "
                             "com.apple.quarantine '/b'"));
    }

    void aBackslashIsDoubledBeforeAQuoteIsEscaped() {
        QCOMPARE(escapedForAppleScript("a\\b\"c"), std::string("a\\\\b\\\"c"));
        QCOMPARE(escapedForAppleScript("\\\""), std::string("\\\\\\\""));
        QCOMPARE(escapedForAppleScript("'single' stays"), std::string("'single' stays"));
        QCOMPARE(escapedForAppleScript(""), std::string());
    }

    void theScriptAsksForAdministratorPrivileges() {
        QCOMPARE(administratorScript("/bin/echo \"a\\b\""),
                 std::string("do shell script \"/bin/echo \\\"a\\\\b\\\"\" with administrator privileges"));
    }
};

TEST_CLASS(PrivilegedCommandTest, QCoreApplication)
#include "PrivilegedCommandTest.moc"

#include "PrivilegedCommand.h"

#include <QTest>

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

QTEST_GUILESS_MAIN(PrivilegedCommandTest)
#include "PrivilegedCommandTest.moc"

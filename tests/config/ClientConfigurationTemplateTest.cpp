#include "ClientConfigurationTemplate.h"
#include "TestProgram.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QTest>

namespace ferrolt {

namespace {

// One literal for each line, however long.
// clang-format off
const char *const expectedLines[] = {
    "### Qor Miner client configuration file ###",
    "",
    "# Configure logging verbosity to the terminal console (fyi: 0=off, 4=debug)",
    "LogLevel                = 3",
    "",
    "# Set in DEBUG environments to enable debug-only (non-production) behavior such as trusting self-signed certs.",
    "Debug                   = false",
    "",
    "# Properties for communicating with the Central Server so we can make use of its services.",
    "CentralSiteDomain       = nodes.test.example",
    "CentralIsSecureSite     = true",
    "CentralJsonPort         = 6661",
    "CentralJsonPortSsl      = 6443",
    "",
    "# Public domain name that resolves to the Qor so this miner can connect over WebSockets.",
    "QorSiteDomain           = nodes.test.example",
    "",
    "# Qor server port listening for miner requests (8080 or 8443)",
    "QorWebSocketPort        = 8443",
    "",
    "# Number of simultaneous connections to make the the Qor (number of miner threads to use)",
    "MaxQorConnections       = 8",
    "",
    "# Number of consecutive times Miner will try connecting to the Qor before giving up (zero means unlimited retries)",
    "ConnectRetries          = 0",
    "",
    "# Email address of this miner, to be used to create account if needed.",
    "MinerEmailAddress       = ",
    "",
    "# Full name of the person or business operating this miner.",
    "MinerEntityName         = ",
    "",
    "# Publicly displayed name for this miner. Leave empty to use the machine's host name as a default.",
    "MinerDisplayName        = ",
    "",
    "# IP address and port of the host which runs tandril (leave blank to indicate loopback)",
    "OrbixHost               = ",
    "OrbixPort               = ",
};
// clang-format on

QByteArrayList templateLines() {
    return QByteArray::fromStdString(clientConfigurationTemplate("nodes.test.example")).split('\n');
}

}  // namespace

class ClientConfigurationTemplateTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theTemplateIsTheseThirtyEightLinesAndNoLineFeedAfterThem();
    void everyKeyLineIsPaddedToTheSameColumn();
    void bothHostsAreTheGivenOne();
};

void ClientConfigurationTemplateTest::theTemplateIsTheseThirtyEightLinesAndNoLineFeedAfterThem() {
    QCOMPARE(std::size(expectedLines), std::size_t{38});
    const QByteArrayList lines = templateLines();
    for (qsizetype at = 0; at < std::min<qsizetype>(lines.size(), 38); ++at)
        QCOMPARE(lines[at], QByteArray(expectedLines[at]));
    QCOMPARE(lines.size(), 38);
}

void ClientConfigurationTemplateTest::everyKeyLineIsPaddedToTheSameColumn() {
    int keyLines = 0;
    for (const QByteArray &line : templateLines()) {
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        ++keyLines;
        QCOMPARE(line.indexOf("= "), 24);
    }
    QCOMPARE(keyLines, 15);
}

void ClientConfigurationTemplateTest::bothHostsAreTheGivenOne() {
    const auto text = QByteArray::fromStdString(clientConfigurationTemplate("a.b.example"));
    QCOMPARE(text.count("a.b.example"), 2);
    QVERIFY(text.contains("\nCentralSiteDomain       = a.b.example\n"));
    QVERIFY(text.contains("\nQorSiteDomain           = a.b.example\n"));
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::ClientConfigurationTemplateTest, QCoreApplication)
#include "ClientConfigurationTemplateTest.moc"

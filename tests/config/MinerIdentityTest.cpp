#include "ClientHome.h"
#include "MinerIdentity.h"

#include <QtTest>

namespace ferrolt {

class MinerIdentityTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void withoutAFileTheIdentityIsIncomplete();
    void theIdentityIsCompleteWithBothValues_data();
    void theIdentityIsCompleteWithBothValues();
};

void MinerIdentityTest::withoutAFileTheIdentityIsIncomplete() {
    const ClientHome home;
    QVERIFY(!isIdentityComplete());
}

void MinerIdentityTest::theIdentityIsCompleteWithBothValues_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isComplete");
    const auto row = [](const char *name, const char *email, const char *entity, bool isComplete) {
        QTest::newRow(name) << QByteArray("MinerEmailAddress = ") + email + "\nMinerEntityName = " + entity +
                                   '\n'
                            << isComplete;
    };
    row("both set", "miner@example.org", "Acme", true);
    row("neither an at sign nor a space is asked for", "miner", "Acme", true);
    row("no e-mail", "", "Acme", false);
    row("no entity", "miner@example.org", "", false);
    row("an entity of blanks only", "miner@example.org", " \t ", false);
    row("an e-mail of blanks only", "\t", "Acme", false);
    row("nothing before a second equals sign", "= miner@example.org", "Acme", false);
    row("a no-break space is no blank", "miner@example.org", "\xC2\xA0", true);
    // Each newline ends a line of the file, so that none is left to stand in a value.
    row("an entity of only a line break", "miner@example.org", "\r", false);
    QTest::newRow("keys missing") << QByteArray("MinerDisplayName = rig\n") << false;
}

void MinerIdentityTest::theIdentityIsCompleteWithBothValues() {
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isComplete);
    const ClientHome home;
    home.writeConfiguration(bytes);
    QCOMPARE(isIdentityComplete(), isComplete);
}

}  // namespace ferrolt

QTEST_GUILESS_MAIN(ferrolt::MinerIdentityTest)
#include "MinerIdentityTest.moc"

#include "PracticeTree.h"
#include "TestProgram.h"

#include <QTest>

#include <csignal>

using namespace ferrolt;

class PracticeClientTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void anythingButAVarFolderIsRefused_data();
    void anythingButAVarFolderIsRefused();
    void aMissingFileIsNamed();
    void anIncompleteIdentityIsNamed();
    void jobsOfTheEngineAreLogged();
    void thePortOfItsOwnFileGoesBeforeThatOfTheTree();
    void anEngineThatComesLateIsWaitedFor();
    void anEngineThatComesBackIsFoundAgain();
    void theTerminateRequestEndsItByThatSignal();
};

void PracticeClientTest::anythingButAVarFolderIsRefused_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("no folder") << QStringList{QStringLiteral("--vardir")};
    QTest::newRow("one more") << QStringList{QStringLiteral("--vardir"), QStringLiteral("/"),
                                             QStringLiteral("x")};
    QTest::newRow("another option") << QStringList{QStringLiteral("--var"), QStringLiteral("/")};
}

void PracticeClientTest::anythingButAVarFolderIsRefused() {
    QFETCH(QStringList, arguments);
    PracticeTree tree;
    PracticeProgram client(tree.client(), arguments);
    QVERIFY(client.ends());
    QCOMPARE(client.process.exitCode(), 2);
    QVERIFY2(client.firstLine().startsWith("[client] practice client "), client.output.constData());
}

void PracticeClientTest::aMissingFileIsNamed() {
    PracticeTree tree;
    QVERIFY(QFile::remove(tree.path(QStringLiteral("var/MinerClient.properties"))));
    PracticeProgram client(tree.client(), tree.clientArguments());
    QVERIFY(client.ends());
    QCOMPARE(client.process.exitCode(), 1);
    QVERIFY2(client.output.contains("/var/MinerClient.properties names no miner"), client.output.constData());
}

void PracticeClientTest::anIncompleteIdentityIsNamed() {
    PracticeTree tree;
    tree.writeClientProperties("MinerEmailAddress = ada@example.org\nMinerEntityName = \t\n");
    PracticeProgram client(tree.client(), tree.clientArguments());
    QVERIFY(client.ends());
    QCOMPARE(client.process.exitCode(), 1);
    QVERIFY2(client.output.contains("MinerEntityName"), client.output.constData());
}

void PracticeClientTest::jobsOfTheEngineAreLogged() {
    PracticeTree tree;
    tree.writeClientProperties(
        "MinerEmailAddress = ada@example.org\nMinerEntityName = Ada Lovelace\nMinerDisplayName = Ωμέγα\n"
        "OrbixPort = \n");
    PracticeProgram engine(tree.engine());
    QVERIFY(engine.writes("listening"));
    PracticeProgram client(tree.client(), tree.clientArguments());
    QVERIFY(client.writes("] miner Ωμέγα, operated by Ada Lovelace <ada@example.org>\n"));
    QVERIFY(client.writes("connected to 127.0.0.1:" + QByteArray::number(tree.port) + "\n"));
    QVERIFY(client.writes("the engine says DONE 2\n"));
    QVERIFY(engine.writes("[engine] session 1 opened for Ωμέγα\n"));
}

void PracticeClientTest::thePortOfItsOwnFileGoesBeforeThatOfTheTree() {
    PracticeTree tree;
    const QByteArray port = QByteArray::number(PracticeTree::freePort());
    tree.writeClientProperties(
        "MinerEmailAddress = a\nMinerEntityName = b\nOrbixHost = 127.0.0.1\nOrbixPort = " + port + "\n");
    PracticeProgram client(tree.client(), tree.clientArguments());
    QVERIFY2(client.writes("no connection to 127.0.0.1:" + port + ": "), client.output.constData());
}

void PracticeClientTest::anEngineThatComesLateIsWaitedFor() {
    PracticeTree tree;
    PracticeProgram client(tree.client(), tree.clientArguments());
    QVERIFY(client.writes("no connection to"));
    PracticeProgram engine(tree.engine());
    QVERIFY2(client.writes("the engine says DONE 1\n"), client.output.constData());
}

void PracticeClientTest::anEngineThatComesBackIsFoundAgain() {
    PracticeTree tree;
    PracticeProgram engine(tree.engine());
    PracticeProgram client(tree.client(), tree.clientArguments());
    QVERIFY(client.writes("connected to"));
    engine.process.kill();
    QVERIFY(engine.ends());
    QVERIFY(client.writes("connecting anew\n"));
    client.output.clear();
    PracticeProgram next(tree.engine());
    QVERIFY2(client.writes("the engine says DONE 1\n"), client.output.constData());
}

void PracticeClientTest::theTerminateRequestEndsItByThatSignal() {
    PracticeTree tree;
    PracticeProgram client(tree.client(), tree.clientArguments());
    QVERIFY(client.writes("no connection to"));
    client.process.terminate();
    QVERIFY(client.ends());
    QCOMPARE(client.process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(client.process.exitCode(), SIGTERM);
}

TEST_CLASS(PracticeClientTest, QCoreApplication)
#include "PracticeClientTest.moc"

#include "PracticeTree.h"
#include "TestProgram.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTest>

#include <csignal>

using namespace ferrolt;

namespace {

/// An engine that listens, and a connection to it.
struct Connected {
    PracticeTree tree;
    PracticeProgram engine{tree.engine()};
    QTcpSocket socket;

    bool isListening = engine.writes("listening");
    bool isConnected = isListening && connectToEngine();

    bool connectToEngine() {
        socket.connectToHost(QHostAddress::LocalHost, tree.port);
        return socket.waitForConnected();
    }

    /// Waits for a line of the engine's answer, and returns it without its end.
    QByteArray answer() {
        QDeadlineTimer deadline(20000);
        while (!socket.canReadLine() && !deadline.hasExpired() &&
               socket.state() == QAbstractSocket::ConnectedState)
            socket.waitForReadyRead(100);
        return socket.readLine().trimmed();
    }
};

}  // namespace

class PracticeEngineTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theFirstLineNamesAPracticeProgram();
    void thePortOpensAboutASecondAfterTheStart();
    void thePortIsTheOneOfThePropertiesFile();
    void anUnusableSettingIsNamedAndEndsIt_data();
    void anUnusableSettingIsNamedAndEndsIt();
    void aPortInUseIsNamedAndEndsIt();
    void aJobIsAcceptedAndDone();
    void aLookAtThePortLeavesNoTrace();
    void aLineWithoutEndIsCutOff();
    void controlCharactersOfAClientStayOutOfTheLog();
    void theTerminateRequestEndsItByThatSignal();
    void theTerminateRequestEndsItThoughNobodyReadsItsLog();
};

void PracticeEngineTest::theFirstLineNamesAPracticeProgram() {
    PracticeTree tree;
    PracticeProgram engine(tree.engine());
    QVERIFY(engine.writes("\n"));
    QVERIFY2(engine.firstLine().startsWith("[engine] practice "), engine.output.constData());
}

void PracticeEngineTest::thePortOpensAboutASecondAfterTheStart() {
    PracticeTree tree;
    tree.writeEngineProperties("MediaSocketPort = " + QByteArray::number(tree.port) + "\n");
    QElapsedTimer time;
    time.start();
    PracticeProgram engine(tree.engine());
    QVERIFY(engine.writes("listening on 127.0.0.1:" + QByteArray::number(tree.port) + "\n"));
    QCOMPARE_GE(time.elapsed(), 1000);
}

void PracticeEngineTest::thePortIsTheOneOfThePropertiesFile() {
    PracticeTree tree;
    tree.writeEngineProperties("# a comment = 1\r\n\r\n  MediaSocketPort =\t" +
                               QByteArray::number(tree.port) +
                               " \r\nWarmUpMilliseconds=0\r\nMediaSocketPort = 1\r\n");
    PracticeProgram engine(tree.engine());
    QVERIFY2(engine.writes("listening on 127.0.0.1:" + QByteArray::number(tree.port) + "\n"),
             engine.output.constData());
}

void PracticeEngineTest::anUnusableSettingIsNamedAndEndsIt_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("letters") << QByteArray("MediaSocketPort = abc")
                             << QByteArray("MediaSocketPort is not a number");
    QTest::newRow("zero") << QByteArray("MediaSocketPort = 0")
                          << QByteArray("MediaSocketPort is not a number");
    QTest::newRow("too high") << QByteArray("MediaSocketPort = 65536")
                              << QByteArray("MediaSocketPort is not a number from 1 to 65535: 65536\n");
    QTest::newRow("another key") << QByteArray("WarmUpMilliseconds = -1")
                                 << QByteArray("WarmUpMilliseconds is not a number");
}

void PracticeEngineTest::anUnusableSettingIsNamedAndEndsIt() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, message);
    PracticeTree tree;
    tree.writeEngineProperties(text);
    PracticeProgram engine(tree.engine());
    QVERIFY(engine.ends());
    QCOMPARE(engine.process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(engine.process.exitCode(), 1);
    QVERIFY2(engine.output.contains(message), engine.output.constData());
}

void PracticeEngineTest::aPortInUseIsNamedAndEndsIt() {
    PracticeTree tree;
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::LocalHost, tree.port));
    PracticeProgram engine(tree.engine());
    QVERIFY(engine.ends());
    QCOMPARE(engine.process.exitCode(), 1);
    QVERIFY(engine.writes("cannot listen on 127.0.0.1:" + QByteArray::number(tree.port) + ": "));
}

void PracticeEngineTest::aJobIsAcceptedAndDone() {
    Connected s;
    QVERIFY(s.isConnected);
    s.socket.write("JOB too early\nHELLO tester\nJOB poster Σάββατο.mp4\n");
    QCOMPARE(s.answer(), "ERROR request not understood");
    QCOMPARE(s.answer(), "WELCOME");
    QCOMPARE(s.answer(), "DONE 1");
    QVERIFY(s.engine.writes("[engine] job 1: poster Σάββατο.mp4\n"));
    QVERIFY(s.engine.writes("[engine] job 1 done\n"));
    s.socket.disconnectFromHost();
    QVERIFY(s.engine.writes("[engine] session 1 closed\n"));
}

void PracticeEngineTest::aLookAtThePortLeavesNoTrace() {
    Connected s;
    QVERIFY(s.isConnected);
    s.socket.abort();
    QVERIFY(s.connectToEngine());
    s.socket.write("HELLO tester\n");
    QVERIFY(s.socket.waitForBytesWritten());
    QVERIFY(s.engine.writes("opened for tester\n"));
    QVERIFY2(s.engine.output.endsWith("\n[engine] session 1 opened for tester\n"),
             s.engine.output.constData());
    const QByteArray listening = "listening on 127.0.0.1:" + QByteArray::number(s.tree.port) + "\n";
    QVERIFY2(s.engine.output.contains(listening + "[engine] session 1 "), s.engine.output.constData());
}

void PracticeEngineTest::aLineWithoutEndIsCutOff() {
    Connected s;
    QVERIFY(s.isConnected);
    s.socket.write("HELLO tester\n" + QByteArray(100000, 'a'));
    QVERIFY(s.socket.waitForDisconnected(20000));
    QVERIFY(s.engine.writes("[engine] session 1 closed\n"));
}

void PracticeEngineTest::controlCharactersOfAClientStayOutOfTheLog() {
    Connected s;
    QVERIFY(s.isConnected);
    s.socket.write("HELLO a\x1b[31m\tb\n");
    QVERIFY(s.socket.waitForBytesWritten());
    QVERIFY2(s.engine.writes("opened for a?[31m?b\n"), s.engine.output.constData());
}

void PracticeEngineTest::theTerminateRequestEndsItByThatSignal() {
    PracticeTree tree;
    PracticeProgram engine(tree.engine());
    QVERIFY(engine.writes("listening"));
    engine.process.terminate();
    QVERIFY(engine.ends());
    QCOMPARE(engine.process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(engine.process.exitCode(), SIGTERM);
}

void PracticeEngineTest::theTerminateRequestEndsItThoughNobodyReadsItsLog() {
    PracticeTree tree;
    QProcess engine;
    // A pipe to a program that reads nothing.
    QProcess deaf;
    engine.setStandardOutputProcess(&deaf);
    deaf.start(QStringLiteral("sleep"), {QStringLiteral("120")});
    engine.start(tree.engine(), {});
    QVERIFY(engine.waitForStarted() && deaf.waitForStarted());

    QTcpSocket socket;
    QDeadlineTimer deadline(20000);
    do
        socket.connectToHost(QHostAddress::LocalHost, tree.port);
    while (!socket.waitForConnected(200) && !deadline.hasExpired());
    // Each request that is not understood is a line of the log. When no answers come any more, the pipe is
    // full.
    bool isStuck = false;
    while (!isStuck && !deadline.hasExpired()) {
        socket.write("what\n");
        isStuck = !socket.waitForReadyRead(500);
        socket.readAll();
    }
    QVERIFY(isStuck);
    engine.terminate();
    QVERIFY(engine.waitForFinished(20000));
    QCOMPARE(engine.exitCode(), SIGTERM);
    deaf.kill();
    deaf.waitForFinished();
}

TEST_CLASS(PracticeEngineTest, QCoreApplication)
#include "PracticeEngineTest.moc"

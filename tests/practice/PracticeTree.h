#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QString>
#include <QTcpServer>
#include <QTemporaryDir>

namespace ferrolt {

/// A practice tree in a folder of its own, with a port of its own, so that tests run beside each other and
/// beside a developer's launcher.
class PracticeTree {
  public:
    PracticeTree() : port(freePort()) {
        for (const QString &program : {engine(), client()}) {
            QDir().mkpath(QFileInfo(program).path());
            QFile::copy(QStringLiteral(FERROLT_PRACTICE_CHILD), program);
        }
        QDir().mkpath(path(QStringLiteral("Tandril/LumoraCore/Properties")));
        QDir().mkpath(path(QStringLiteral("var")));
        writeEngineProperties("MediaSocketPort = " + QByteArray::number(port) + "\nWarmUpMilliseconds = 0\n");
        writeClientProperties("MinerEmailAddress = ada@example.org\nMinerEntityName = Ada Lovelace\n");
    }

    QString path(const QString &below) const { return folder.filePath(below); }
    QString engine() const { return path(QStringLiteral("Tandril/LumoraCore/MediaEngine/Orbix")); }
    QString client() const { return path(QStringLiteral("Client/qorclient")); }
    QStringList clientArguments() const { return {QStringLiteral("--vardir"), path(QStringLiteral("var"))}; }

    void writeEngineProperties(const QByteArray &text) const {
        write(path(QStringLiteral("Tandril/LumoraCore/Properties/local.properties")), text);
    }
    void writeClientProperties(const QByteArray &text) const {
        write(path(QStringLiteral("var/MinerClient.properties")), text);
    }

    const quint16 port;

    static quint16 freePort() {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        return server.serverPort();
    }

  private:
    static void write(const QString &path, const QByteArray &text) {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("cannot write %s", qPrintable(path));
    }

    QTemporaryDir folder;
};

/// A running practice program, killed with this object.
class PracticeProgram {
  public:
    explicit PracticeProgram(const QString &executable, const QStringList &arguments = {}) {
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(executable, arguments);
    }
    ~PracticeProgram() {
        process.kill();
        process.waitForFinished();
    }
    PracticeProgram(const PracticeProgram &) = delete;
    PracticeProgram &operator=(const PracticeProgram &) = delete;

    /// Waits until the program has written `text`; false when it has not after 20 seconds.
    bool writes(const QByteArray &text) {
        QDeadlineTimer deadline(20000);
        while (!output.contains(text)) {
            if (deadline.hasExpired() || process.state() == QProcess::NotRunning)
                return false;
            process.waitForReadyRead(100);
            output += process.readAll();
        }
        return true;
    }

    /// Waits until the program has ended; false when it has not after 20 seconds.
    bool ends() {
        const bool hasEnded = process.state() == QProcess::NotRunning || process.waitForFinished(20000);
        output += process.readAll();
        return hasEnded;
    }

    QByteArray firstLine() const { return output.left(output.indexOf('\n')); }

    QProcess process;
    QByteArray output;  ///< all that was read so far
};

}  // namespace ferrolt

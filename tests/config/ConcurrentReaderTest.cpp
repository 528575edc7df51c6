#include "ClientHome.h"
#include "SaveProps.h"
#include "TestProgram.h"
#include "TextFile.h"

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <set>
#include <string>
#include <thread>

namespace ferrolt {

namespace {

/// The file after a save with `value` in all three fields.
QByteArray fileWith(const QString &value) {
    const QByteArray text = value.toUtf8();
    return "First = 1\nMinerEmailAddress       = " + text + "\nMinerEntityName         = " + text +
           "\nMinerDisplayName        = " + text + "\nLast = 2\n";
}

}  // namespace

/// The client may read its configuration at any time during a save.
class ConcurrentReaderTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aReaderThroughTenThousandSavesNeverSeesATornFile();
};

void ConcurrentReaderTest::aReaderThroughTenThousandSavesNeverSeesATornFile() {
    const ClientHome home;
    const auto valueOf = [](int save) -> QString {
        return QString::number(save) + QString(save * 7 % 9000, QLatin1Char('x'));
    };
    home.writeConfiguration(fileWith(valueOf(0)));

    std::atomic<bool> isOver = false;
    std::atomic<int> reads = 0;
    std::string torn;
    std::set<std::string> seen;
    std::thread reader([&, path = home.configuration()] {
        while (!isOver && torn.empty()) {
            const TextFile file = TextFile::read(path);
            const QByteArray text = QByteArray::fromStdString(file.text);
            const QString value = QString::fromUtf8(text.split('\n').value(1).mid(26));
            if (file.state != TextFile::State::Read || text != fileWith(value))
                torn = "read: " + file.text;
            seen.insert(value.toStdString());
            ++reads;
        }
    });
    QElapsedTimer timer;
    timer.start();
    for (int round = 1; round <= 10'000; ++round)
        SaveProps::save(valueOf(round), valueOf(round), valueOf(round));
    const qint64 elapsed = timer.elapsed();
    isOver = true;
    reader.join();
    qInfo("%lld ms for 10,000 saves; %d reads of %zu different files", elapsed, reads.load(), seen.size());
    QCOMPARE(QByteArray::fromStdString(torn), QByteArray());
    QVERIFY(seen.size() > 10);
    QCOMPARE(home.readConfiguration(), fileWith(valueOf(10'000)));
    QCOMPARE(ClientHome::contents(home.configuration().parent_path()),
             QStringList{QStringLiteral("MinerClient.properties")});
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::ConcurrentReaderTest, QCoreApplication)
#include "ConcurrentReaderTest.moc"

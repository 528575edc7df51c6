#include "ClientHome.h"
#include "EnginePort.h"
#include "TestProgram.h"

#include <QElapsedTimer>
#include <QTest>

#include <cstdint>
#include <filesystem>
#include <limits>

namespace ferrolt {

namespace fs = std::filesystem;

class EnginePortTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void withoutAFileThePortIs9877();
    void aFileThatCannotBeReadGives9877_data();
    void aFileThatCannotBeReadGives9877();
    void anEntryIsReadByTheEnginesRule_data();
    void anEntryIsReadByTheEnginesRule();
    void theFileIsReadAfreshBelowTheEngineFolderOfTheMoment();
    void aNumberOfTenMegabytesIsReadQuickly();
};

void EnginePortTest::withoutAFileThePortIs9877() {
    const ClientHome home;
    QCOMPARE(readEnginePort(), std::int64_t{9877});
}

void EnginePortTest::aFileThatCannotBeReadGives9877_data() {
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"folder", "not UTF-8", "failing", "endless"})
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void EnginePortTest::aFileThatCannotBeReadGives9877() {
    QFETCH(QString, kind);
    const ClientHome home;
    const fs::path path = localPropertiesPath();
    fs::create_directories(path.parent_path());
    if (kind == QStringLiteral("folder"))
        fs::create_directory(path);
    if (kind == QStringLiteral("not UTF-8"))
        ClientHome::write(path, "MediaSocketPort = 9900\nName = M\xFCller\n");
    if (kind == QStringLiteral("failing"))
        fs::create_symlink("/proc/self/mem", path);
    if (kind == QStringLiteral("endless"))
        fs::create_symlink("/dev/zero", path);
    QCOMPARE(readEnginePort(), std::int64_t{9877});
}

void EnginePortTest::anEntryIsReadByTheEnginesRule_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<std::int64_t>("port");
    const auto row = [](const char *name, const QByteArray &bytes, std::int64_t port) {
        QTest::newRow(name) << bytes << port;
    };
    row("an empty file", "", 9877);
    row("a plain entry", "MediaSocketPort = 9900\n", 9900);
    row("an entry without blanks, the last line", "MediaSocketPort=9900", 9900);
    row("an indented entry with blanks around the sign", " \t MediaSocketPort \t = \t 9900 \t \n", 9900);
    row("an empty value", "MediaSocketPort = \n", 9877);
    row("no equals sign", "MediaSocketPort 9900\n", 9877);
    row("not a number", "MediaSocketPort = auto\n", 9877);
    row("zero", "MediaSocketPort = 0\n", 9877);
    row("signed zero", "MediaSocketPort = -0\nMediaSocketPort = +0\n", 9877);
    row("a negative number", "MediaSocketPort = -9900\n", 9877);
    row("unusable entries only",
        "MediaSocketPort =\nMediaSocketPort = x\nMediaSocketPort = 0\nMediaSocketPort = -1\n", 9877);
    row("a later entry when the first is unusable", "MediaSocketPort = none\nMediaSocketPort = 9900\n", 9900);
    row("the first of two usable entries", "MediaSocketPort = 9900\nMediaSocketPort = 9901\n", 9900);
    row("a plus sign", "MediaSocketPort = +9900\n", 9900);
    row("a sign alone", "MediaSocketPort = +\nMediaSocketPort = -\n", 9877);
    row("two signs", "MediaSocketPort = +-9900\nMediaSocketPort = ++9900\nMediaSocketPort = --9900\n", 9877);
    row("a blank after the sign", "MediaSocketPort = + 9900\n", 9877);
    row("leading zeros", "MediaSocketPort = 0009900\n", 9900);
    row("something after the number", "MediaSocketPort = 9900 # default\nMediaSocketPort = 9900.0\n", 9877);
    row("digits of another script", "MediaSocketPort = \xD9\xA9\xD9\xA9\n", 9877);
    row("a number in hexadecimal", "MediaSocketPort = 0x26AC\n", 9877);
    row("a no-break space",
        "MediaSocketPort = \xC2\xA0"
        "9900\n",
        9877);
    row("a NUL", QByteArrayLiteral("MediaSocketPort = 9900\0\n"), 9877);
    row("only what stands before a second equals sign", "MediaSocketPort = 9900 = 9901\n", 9900);
    row("above every port", "MediaSocketPort = 65536\n", 65536);
    row("the largest number", "MediaSocketPort = 9223372036854775807\n",
        std::numeric_limits<std::int64_t>::max());
    row("one more than the largest", "MediaSocketPort = 9223372036854775808\n", 9877);
    row("a longer key", "MediaSocketPortOld = 9900\n", 9877);
    row("a shorter key", "MediaSocket = 9900\n", 9877);
    row("another case", "mediasocketport = 9900\n", 9877);
    row("a comment", "#MediaSocketPort = 9900\n# MediaSocketPort = 9901\n", 9877);
    row("CR LF", "Name = x\r\nMediaSocketPort = 9900\r\nLast = y\r\n", 9900);
    row("a UTF-8 mark",
        "\xEF\xBB\xBF"
        "MediaSocketPort = 9900\n",
        9900);
    row("UTF-16",
        QByteArrayLiteral("\xFE\xFF") + QByteArray("\0M\0e\0d\0i\0a\0S\0o\0c\0k\0e\0t\0P\0o\0r\0t\0=\0"
                                                   "7",
                                                   34),
        7);
}

void EnginePortTest::anEntryIsReadByTheEnginesRule() {
    QFETCH(QByteArray, bytes);
    QFETCH(std::int64_t, port);
    const ClientHome home;
    ClientHome::write(localPropertiesPath(), bytes);
    QCOMPARE(readEnginePort(), port);
}

void EnginePortTest::theFileIsReadAfreshBelowTheEngineFolderOfTheMoment() {
    const ClientHome home;
    ClientHome::write(localPropertiesPath(), "MediaSocketPort = 9900\n");
    QCOMPARE(readEnginePort(), std::int64_t{9900});
    ClientHome::write(localPropertiesPath(), "MediaSocketPort = 9901\n");
    QCOMPARE(readEnginePort(), std::int64_t{9901});
    // An engine that is installed meanwhile has priority over the development folder's.
    ClientHome::write(
        pathRoots().root / "Library/Application Support/Ferrolt/LumoraCore/Properties/local.properties",
        "MediaSocketPort = 9902\n");
    QCOMPARE(readEnginePort(), std::int64_t{9902});
}

void EnginePortTest::aNumberOfTenMegabytesIsReadQuickly() {
    const ClientHome home;
    const QByteArray zeros(10'000'000, '0');
    const QByteArray nines(10'000'000, '9');
    ClientHome::write(localPropertiesPath(),
                      "MediaSocketPort = " + nines + "\nMediaSocketPort = " + zeros + "9900\n");
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(readEnginePort(), std::int64_t{9900});
    QVERIFY(timer.elapsed() < 60'000);  // on a busy machine, at a sanitizer's pace
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::EnginePortTest, QCoreApplication)
#include "EnginePortTest.moc"

#include "DeployConfig.h"
#include "TestProgram.h"

#include <QTest>

#include <limits>

using namespace ferrolt;

using Interval = std::optional<std::int64_t>;

class DeployConfigTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void bothKeysAreRead() {
        const auto manifest =
            DeployConfig::decode(R"({"checkUpdateInterval": 6, "libreofficeversion": "26.2.4"})");
        QVERIFY(manifest.has_value());
        QCOMPARE(manifest->checkUpdateInterval, Interval(6));
        QCOMPARE(manifest->libreofficeversion, std::optional(QStringLiteral("26.2.4")));
    }

    void aMissingOrNullKeyIsAnAbsentValue_data() {
        QTest::addColumn<QByteArray>("body");
        for (const char *body :
             {"{}", " \r\n\t{ } \n", R"({"checkUpdateInterval":null})", R"({"libreofficeversion":null})",
              R"({"checkUpdateInterval":null,"libreofficeversion":null})",
              R"({"CheckUpdateInterval":6,"libreOfficeVersion":"1"})",
              R"({"checkupdateinterval":6,"LIBREOFFICEVERSION":"1"})",
              R"({" checkUpdateInterval":6,"libreofficeversion ":"1"})"})
            QTest::newRow(body) << QByteArray(body);
    }
    void aMissingOrNullKeyIsAnAbsentValue() {
        QFETCH(QByteArray, body);
        const auto manifest = DeployConfig::decode(body);
        QVERIFY(manifest.has_value());
        QVERIFY(!manifest->checkUpdateInterval);
        QVERIFY(!manifest->libreofficeversion);
    }

    void aWholeNumberIsAnInterval_data() {
        QTest::addColumn<QByteArray>("number");
        QTest::addColumn<qint64>("hours");
        const auto row = [](const char *number, qint64 hours) {
            QTest::newRow(number) << QByteArray(number) << hours;
        };
        row("6", 6);
        row("0", 0);
        row("-3", -3);
        row("1", 1);
        row("-0", 0);
        row("6.0", 6);
        row("6e0", 6);
        row("60e-1", 6);
        row("0.6E+1", 6);
        row("1e3", 1000);
        row("9007199254740993", 9007199254740993);
        row("9223372036854775807", std::numeric_limits<qint64>::max());
        row("-9223372036854775808", std::numeric_limits<qint64>::min());
    }
    void aWholeNumberIsAnInterval() {
        QFETCH(QByteArray, number);
        QFETCH(qint64, hours);
        const auto manifest = DeployConfig::decode("{\"checkUpdateInterval\":" + number + "}");
        QVERIFY(manifest.has_value());
        QCOMPARE(manifest->checkUpdateInterval, Interval(hours));
    }

    void anyTextIsAVersion_data() {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("version");
        QTest::newRow("empty") << QByteArray("\"\"") << QStringLiteral("");
        QTest::newRow("escapes") << QByteArray("\"\\u0032\\/\\\"\\\\\"") << QStringLiteral("2/\"\\");
        QTest::newRow("pair") << QByteArray("\"\\ud83d\\ude00\"") << QStringLiteral(u"\U0001F600");
        QTest::newRow("climbs") << QByteArray("\"../../x y\"") << QStringLiteral("../../x y");
        QTest::newRow("nul") << QByteArray("\"a\\u0000b\"")
                             << QString(QStringLiteral("a") + QChar(0) + QStringLiteral("b"));
        QTest::newRow("64 characters")
            << QByteArray('"' + QByteArray(64, '9') + '"') << QString(64, QLatin1Char('9'));
    }
    void anyTextIsAVersion() {
        QFETCH(QByteArray, json);
        QFETCH(QString, version);
        const auto manifest = DeployConfig::decode("{\"libreofficeversion\":" + json + "}");
        QVERIFY(manifest.has_value());
        QCOMPARE(manifest->libreofficeversion, std::optional(version));
    }

    void oneBadValueFailsTheWholeManifest_data() {
        QTest::addColumn<QByteArray>("body");
        for (const char *number : {"6.5", "0.1", "\"6\"", "1e30", "-1e30", "9223372036854775808", "1e400",
                                   "true", "false", "[]", "[6]", "{}", "\"\""})
            QTest::newRow(number) << QByteArray(
                "{\"libreofficeversion\":\"1\",\"checkUpdateInterval\":" + QByteArray(number) + "}");
        for (const char *text : {"26", "26.2", "true", "[\"26.2.4\"]", "{}", "\"\\ud800\"", "\"\\udc00x\""})
            QTest::newRow(text) << QByteArray(
                "{\"checkUpdateInterval\":6,\"libreofficeversion\":" + QByteArray(text) + "}");
    }
    void oneBadValueFailsTheWholeManifest() {
        QFETCH(QByteArray, body);
        QVERIFY(!DeployConfig::decode(body));
    }

    void aVersionThatIsTooLongFailsTheWholeManifest() {
        for (const qsizetype length : {65, 10'000, 1'500'000})
            QVERIFY(!DeployConfig::decode("{\"checkUpdateInterval\":6,\"libreofficeversion\":\"" +
                                          QByteArray(length, '9') + "\"}"));
    }

    void whatIsNoObjectFails_data() {
        QTest::addColumn<QByteArray>("body");
        const QByteArray good = R"({"checkUpdateInterval":6})";
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("null bytes") << QByteArray(10, '\0');
        for (const char *body :
             {"null", "6", "\"text\"", "[]", R"([{"checkUpdateInterval":6}])", "<html></html>", "{", "}",
              "{'checkUpdateInterval':6}", R"({"checkUpdateInterval":06})", R"({"checkUpdateInterval":+6})",
              R"({"checkUpdateInterval":6,})", R"({checkUpdateInterval:6})", R"({"checkUpdateInterval":NaN})",
              R"({"checkUpdateInterval":6}{"checkUpdateInterval":6})", R"({"checkUpdateInterval":6} why)"})
            QTest::newRow(body) << QByteArray(body);
        for (qsizetype length = 1; length < good.size(); ++length)
            QTest::addRow("cut after %d", int(length)) << good.left(length);
        QTest::newRow("not UTF-8") << QByteArray("{\"libreofficeversion\":\"\xff\"}");
        QTest::newRow("deep") << QByteArray(QByteArray(100000, '[') + QByteArray(100000, ']'));
    }
    void whatIsNoObjectFails() {
        QFETCH(QByteArray, body);
        QVERIFY(!DeployConfig::decode(body));
    }

    void aByteOrderMarkIsSkipped() {
        const auto manifest = DeployConfig::decode("\xEF\xBB\xBF{\"checkUpdateInterval\":6}");
        QVERIFY(manifest.has_value());
        QCOMPARE(manifest->checkUpdateInterval, Interval(6));
    }

    void unknownKeysOfAnyTypeAreIgnored() {
        const auto manifest = DeployConfig::decode(
            R"({"a":6.5,"b":[1,{"checkUpdateInterval":"x"}],"":null,"checkUpdateInterval":6,"checkUpdateInterval2":"6"})");
        QVERIFY(manifest.has_value());
        QCOMPARE(manifest->checkUpdateInterval, Interval(6));
    }

    void ofAKeyThatComesTwiceTheLastOneCounts() {
        QCOMPARE(
            DeployConfig::decode(R"({"checkUpdateInterval":6,"checkUpdateInterval":7})")->checkUpdateInterval,
            Interval(7));
        QVERIFY(!DeployConfig::decode(R"({"checkUpdateInterval":6,"checkUpdateInterval":"7"})"));
        QVERIFY(DeployConfig::decode(R"({"checkUpdateInterval":"6","checkUpdateInterval":7})"));
    }
};

TEST_CLASS(DeployConfigTest, NoApplication)
#include "DeployConfigTest.moc"

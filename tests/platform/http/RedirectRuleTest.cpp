#include "NameLookup.h"
#include "RedirectRule.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QHostAddress>
#include <QTest>

#include <optional>

using namespace ferrolt;

class RedirectRuleTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() {
        NameLookup::instance().addresses = {{"public.test", {"93.184.216.34"}},
                                            {"public6.test", {"2606:2800:220:1::1"}},
                                            {"local.test", {"127.0.0.1"}},
                                            {"lan.test", {"192.168.1.5"}},
                                            {"mixed.test", {"93.184.216.34", "10.0.0.1"}}};
    }

    void anAddressIsLocal_data() {
        QTest::addColumn<bool>("isLocal");
        for (const char *address : {"127.0.0.1",
                                    "127.9.9.9",
                                    "0.0.0.0",
                                    "10.0.0.1",
                                    "10.255.255.255",
                                    "172.16.0.1",
                                    "172.31.255.255",
                                    "192.168.0.1",
                                    "169.254.169.254",
                                    "100.64.0.1",
                                    "100.127.255.255",
                                    "224.0.0.1",
                                    "255.255.255.255",
                                    "::",
                                    "::1",
                                    "fe80::1",
                                    "fc00::1",
                                    "fd12:3456::1",
                                    "ff02::1",
                                    "::ffff:127.0.0.1",
                                    "::ffff:10.0.0.1"})
            QTest::newRow(address) << true;
        for (const char *address : {"1.1.1.1", "9.255.255.255", "11.0.0.0", "172.15.255.255", "172.32.0.0",
                                    "192.167.255.255", "192.169.0.0", "100.63.255.255", "100.128.0.0",
                                    "93.184.216.34", "2606:2800:220:1::1", "::ffff:93.184.216.34"})
            QTest::newRow(address) << false;
    }
    void anAddressIsLocal() {
        QFETCH(bool, isLocal);
        QCOMPARE(isLocalAddress(QHostAddress(QString::fromLatin1(QTest::currentDataTag()))), isLocal);
    }

    void aRedirectIsDecided_data() {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<bool>("isAllowed");
        const auto row = [](const char *from, const char *to, bool isAllowed) {
            QTest::newRow(
                qPrintable(QString::fromLatin1("%1 to %2").arg(QLatin1String(from), QLatin1String(to))))
                << QString::fromLatin1(from) << QString::fromLatin1(to) << isAllowed;
        };
        row("https://public.test/", "http://public.test/", false);
        row("http://public.test/", "https://public.test/", true);
        row("http://public.test/", "http://public6.test/", true);
        row("https://public.test/", "https://93.184.216.35/", true);
        row("http://public.test/", "http://127.0.0.1:9877/", false);
        row("http://public.test/", "http://[::1]/", false);
        row("http://public.test/", "http://[::ffff:127.0.0.1]/", false);
        row("http://public.test/", "http://2130706433/", false);
        row("http://public.test/", "http://local.test/", false);
        row("http://public.test/", "http://lan.test/", false);
        row("http://public.test/", "http://mixed.test/", false);
        row("http://mixed.test/", "http://lan.test/", false);
        row("http://93.184.216.34/", "http://192.168.1.1/", false);
        row("http://unknown.test/", "http://127.0.0.1/", false);
        row("http://public.test/", "http://unknown.test/", true);
        row("http://127.0.0.1/", "http://127.0.0.1:8080/", true);
        row("http://lan.test/", "http://local.test/", true);
        row("http://lan.test/", "http://public.test/", true);
        row("https://local.test/", "http://local.test/", false);
    }
    void aRedirectIsDecided() {
        QFETCH(QString, from);
        QFETCH(QString, to);
        QFETCH(bool, isAllowed);
        std::optional<bool> decided;
        decideRedirect(QUrl(from), QUrl(to), this, [&](bool allowed) { decided = allowed; });
        QVERIFY(waitUntil([&] { return decided.has_value(); }));
        QCOMPARE(*decided, isAllowed);
    }
};

TEST_CLASS(RedirectRuleTest, QCoreApplication)
#include "RedirectRuleTest.moc"

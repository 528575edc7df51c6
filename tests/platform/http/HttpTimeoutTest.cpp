#include "Background.h"
#include "HttpSession.h"
#include "TestHttpsServer.h"
#include "TestProgram.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

using namespace ferrolt;
using namespace std::chrono_literals;
using Error = HttpReply::Error;

/// In real time, with short timeouts. An event that must not happen is always more than a second away from
/// one that must, so that a stalling machine does not fail the test.
class HttpTimeoutTest : public QObject {
    Q_OBJECT

    TestAuthority authority;
    TestHttpsServer server{authority.issue()};
    TestHttpsServer plain;
    QElapsedTimer elapsed;

    HttpConfiguration configuration(std::chrono::milliseconds request,
                                    std::chrono::milliseconds resource) const {
        HttpConfiguration configuration;
        configuration.requestTimeout = request;
        configuration.resourceTimeout = resource;
        configuration.extraAuthorities = authority.certificate();
        return configuration;
    }
    HttpReply get(const QUrl &url, const HttpConfiguration &configuration) {
        elapsed.start();
        return inBackground([&] { return HttpSession(configuration).fetchData(url); });
    }

  private Q_SLOTS:
    void aServerThatNeverAnswersIsGivenUp() {
        server.on(QStringLiteral("/never"), TestHttpsServer::neverAnswers());
        const HttpReply reply = get(server.url(QStringLiteral("/never")), configuration(500ms, 10min));
        QCOMPARE(reply.error, Error::TimedOut);
        QVERIFY(elapsed.elapsed() >= 450);
        QCOMPARE(server.requestCount(QStringLiteral("/never")), 1);
    }

    void aServerThatDoesNotEvenShakeHandsIsGivenUp() {
        const QUrl url(QStringLiteral("https://127.0.0.1:%1/").arg(plain.port()));
        QCOMPARE(get(url, configuration(500ms, 10min)).error, Error::TimedOut);
        QVERIFY(elapsed.elapsed() >= 450);
    }

    void aStallInTheMiddleEndsADownload() {
        const QTemporaryDir folder;
        server.on(QStringLiteral("/stalls"),
                  TestHttpsServer::stallsAfter(500'000, QByteArray(1'000'000, 'x')));
        std::int64_t received = 0;
        const HttpReply reply = inBackground([&] {
            return HttpSession(configuration(1s, 10min))
                .downloadFile(server.url(QStringLiteral("/stalls")),
                              folder.filePath(QStringLiteral("image")).toStdString(),
                              [&](std::int64_t count, std::int64_t) { received = count; });
        });
        QCOMPARE(reply.error, Error::TimedOut);
        QVERIFY(received > 0);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void everyPieceThatArrivesStartsTheWaitAnew() {
        // The whole takes longer than the timeout, a single piece does not.
        server.on(QStringLiteral("/trickle"), TestHttpsServer::trickles(QByteArray(55, 'x'), 40));
        const HttpReply reply = get(server.url(QStringLiteral("/trickle")), configuration(2s, 10min));
        QCOMPARE(reply.error, Error::None);
        QVERIFY(elapsed.elapsed() > 2000);
    }

    void aTrickleIsGivenUpWhenTheWholeTimeIsOver() {
        server.on(QStringLiteral("/trickle"), TestHttpsServer::trickles(QByteArray(500, 'x'), 20));
        const HttpReply reply = get(server.url(QStringLiteral("/trickle")), configuration(1min, 1s));
        QCOMPARE(reply.error, Error::TimedOut);
        QVERIFY(elapsed.elapsed() >= 900);
    }

    void redirectsDoNotStretchTheWholeTime() {
        server.on(QStringLiteral("/round"), [](TestExchange &exchange) {
            exchange.pause(300);
            exchange.reply(302, {}, {{"Location", "/round"}});
        });
        // More than 20 redirects would be another error.
        QCOMPARE(get(server.url(QStringLiteral("/round")), configuration(1min, 1s)).error, Error::TimedOut);
        QVERIFY(elapsed.elapsed() >= 900);
    }

    void withoutAnyOfItARequestMayTakeAMinuteOfSilenceAndAQuarterOfAnHour() {
        const HttpConfiguration usual;
        QVERIFY(usual.requestTimeout == 60s);
        QVERIFY(usual.resourceTimeout == 15min);
    }
};

TEST_CLASS(HttpTimeoutTest, QCoreApplication)
#include "HttpTimeoutTest.moc"

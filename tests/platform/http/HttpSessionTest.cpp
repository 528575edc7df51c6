#include "Background.h"
#include "HttpSession.h"
#include "TestHttpsServer.h"
#include "TestProgram.h"

#include <QTest>

using namespace ferrolt;
using Error = HttpReply::Error;

class HttpSessionTest : public QObject {
    Q_OBJECT

    TestAuthority authority;
    TestHttpsServer server{authority.issue()};

    HttpConfiguration configuration() const {
        HttpConfiguration configuration;
        configuration.extraAuthorities = authority.certificate();
        return configuration;
    }
    HttpReply get(const QUrl &url) const { return get(url, configuration()); }
    static HttpReply get(const QUrl &url, const HttpConfiguration &configuration) {
        return inBackground([&] { return HttpSession(configuration).fetchData(url); });
    }
    HttpReply get(const QString &path) const { return get(server.url(path)); }

  private Q_SLOTS:
    void aReplyComesWithItsStatusAndBody_data() {
        QTest::addColumn<int>("status");
        for (const int status :
             {200, 201, 204, 206, 302, 400, 401, 403, 404, 410, 418, 429, 500, 501, 503, 599})
            QTest::addRow("%d", status) << status;
    }
    void aReplyComesWithItsStatusAndBody() {
        QFETCH(int, status);
        const QByteArray body = status == 204 ? QByteArray() : QByteArray("some body");
        server.on(QStringLiteral("/status"), TestHttpsServer::replies(status, body));
        const HttpReply reply = get(QStringLiteral("/status"));
        QCOMPARE(reply.error, Error::None);
        QCOMPARE(reply.statusCode, status);
        QCOMPARE(reply.body, body);
    }

    void requestsOfASessionShareAConnection() {
        server.on(QStringLiteral("/shared"), TestHttpsServer::replies(200, "x"));
        const int before = server.connectionCount();
        inBackground([&] {
            HttpSession session(configuration());
            for (int i = 0; i < 3; ++i)
                session.fetchData(server.url(QStringLiteral("/shared")));
            return 0;
        });
        QCOMPARE(server.requestCount(QStringLiteral("/shared")), 3);
        QCOMPARE(server.connectionCount(), before + 1);
    }

    void nothingIsSentThatWasNotAskedFor() {
        server.on(QStringLiteral("/headers"), TestHttpsServer::replies(200, "x"));
        get(QStringLiteral("/headers"));
        const TestRequest request = server.requests().last();
        QCOMPARE(request.method, QByteArray("GET"));
        QVERIFY(!request.headers.contains("cookie"));
        QVERIFY(!request.headers.contains("referer"));
        QVERIFY(!request.headers.contains("authorization"));
    }

    void aChunkedBodyIsPutTogether() {
        server.on(QStringLiteral("/chunked"), TestHttpsServer::repliesChunked(200, testPattern(), 1000));
        const HttpReply reply = get(QStringLiteral("/chunked"));
        QCOMPARE(reply.error, Error::None);
        QVERIFY(reply.body == testPattern());
    }

    void aCompressedBodyIsDecoded() {
        const QByteArray body = testPattern() + QByteArray(100000, 'x');
        server.on(QStringLiteral("/gzip"), TestHttpsServer::repliesCompressed(200, body));
        const HttpReply reply = get(QStringLiteral("/gzip"));
        QCOMPARE(reply.error, Error::None);
        QVERIFY(reply.body == body);
    }

    void aBodyMayHaveSixteenMebibytesAndNotAByteMore_data() {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<bool>("chunked");
        QTest::addColumn<bool>("kept");
        const qint64 most = HttpSession::maxBodySize;
        QTest::newRow("announced, just fits") << most << false << true;
        QTest::newRow("announced, one too many") << most + 1 << false << false;
        QTest::newRow("chunked, just fits") << most << true << true;
        QTest::newRow("chunked, one too many") << most + 1 << true << false;
        QTest::newRow("announced, 100 MB") << qint64(100'000'000) << false << false;
    }
    void aBodyMayHaveSixteenMebibytesAndNotAByteMore() {
        QFETCH(qint64, size);
        QFETCH(bool, chunked);
        QFETCH(bool, kept);
        server.on(QStringLiteral("/large"),
                  chunked ? TestHttpsServer::repliesChunked(200, QByteArray(size, 'x'), 100000)
                          : TestHttpsServer::repliesPattern(size));
        const HttpReply reply = get(QStringLiteral("/large"));
        QCOMPARE(reply.error, kept ? Error::None : Error::TooLarge);
        QCOMPARE(reply.body.size(), kept ? size : 0);
    }

    void aSmallBodyThatUnpacksToAHugeOneIsRefused() {
        server.on(QStringLiteral("/bomb"),
                  TestHttpsServer::repliesCompressed(200, QByteArray(100'000'000, '\0')));
        const HttpReply reply = get(QStringLiteral("/bomb"));
        QCOMPARE(reply.error, Error::TooLarge);
        QVERIFY(reply.body.isEmpty());
    }

    void aBodyThatIsCutIsATransportError_data() {
        QTest::addColumn<QString>("path");
        const QByteArray body(200000, 'x');
        server.on(QStringLiteral("/cut"), TestHttpsServer::cutsAfter(100000, body));
        server.on(QStringLiteral("/cut-at-once"), TestHttpsServer::cutsAfter(0, body));
        server.on(QStringLiteral("/cut-last-byte"), TestHttpsServer::cutsAfter(199999, body));
        server.on(QStringLiteral("/reset"), TestHttpsServer::resetsAfter(100000, body));
        server.on(QStringLiteral("/reset-before-head"), [](TestExchange &exchange) { exchange.reset(); });
        server.on(QStringLiteral("/close-before-head"), [](TestExchange &exchange) { exchange.close(); });
        server.on(QStringLiteral("/cut-head"), [](TestExchange &exchange) {
            exchange.send("HTTP/1.1 200 OK\r\nContent-Le");
            exchange.close();
        });
        server.on(QStringLiteral("/cut-chunk"), [](TestExchange &exchange) {
            exchange.head(200, {{"Transfer-Encoding", "chunked"}});
            exchange.send("100\r\nonly this much");
            exchange.close();
        });
        server.on(QStringLiteral("/no-last-chunk"), [](TestExchange &exchange) {
            exchange.head(200, {{"Transfer-Encoding", "chunked"}});
            exchange.send("4\r\nfour\r\n");
            exchange.close();
        });
        server.on(QStringLiteral("/not-http"), [](TestExchange &exchange) {
            exchange.send("220 mail.example ESMTP\r\n");
            exchange.close();
        });
        server.on(QStringLiteral("/cut-500"), [body](TestExchange &exchange) {
            exchange.head(500, {{"Content-Length", "200000"}});
            exchange.send(body.left(50000));
            exchange.close();
        });
        server.on(QStringLiteral("/damaged-gzip"), [](TestExchange &exchange) {
            exchange.reply(200, "this is not compressed at all", {{"Content-Encoding", "gzip"}});
        });
        for (const char *path :
             {"/cut", "/cut-at-once", "/cut-last-byte", "/reset", "/reset-before-head", "/close-before-head",
              "/cut-head", "/cut-chunk", "/no-last-chunk", "/not-http", "/cut-500", "/damaged-gzip"})
            QTest::newRow(path) << QString::fromLatin1(path);
    }
    void aBodyThatIsCutIsATransportError() {
        QFETCH(QString, path);
        const HttpReply reply = get(path);
        QCOMPARE(reply.error, Error::Transport);
        QVERIFY(reply.body.isEmpty());
    }

    void aServerWithoutAGoodCertificateIsNotSpokenTo_data() {
        QTest::addColumn<QByteArray>("chain");
        QTest::addColumn<QByteArray>("key");
        const auto row = [](const char *name, const TestCertificate &certificate) {
            QTest::newRow(name) << certificate.chain << certificate.key;
        };
        const QStringList here{QStringLiteral("127.0.0.1")};
        row("expired", authority.issue(here, TestAuthority::Validity::Expired));
        row("wrong host", authority.issue({QStringLiteral("elsewhere.example")}));
        row("self-signed", TestAuthority::selfSigned());
        row("unknown authority", TestAuthority().issue(here));
    }
    void aServerWithoutAGoodCertificateIsNotSpokenTo() {
        QFETCH(QByteArray, chain);
        QFETCH(QByteArray, key);
        TestHttpsServer bad(TestCertificate{chain, key});
        bad.on(QStringLiteral("/secret"), TestHttpsServer::replies(200, "body"));
        const HttpReply reply = get(bad.url(QStringLiteral("/secret")));
        QCOMPARE(reply.error, Error::Transport);
        QVERIFY(reply.body.isEmpty());
        QCOMPARE(bad.requestCount(QStringLiteral("/secret")), 0);
    }

    void theTestAuthorityIsNotTrustedWithoutBeingNamed() {
        QCOMPARE(get(server.url(QStringLiteral("/any")), {}).error, Error::Transport);
    }

    void anUnreachableServerIsATransportError_data() {
        QTest::addColumn<QUrl>("url");
        quint16 closed = 0;
        {
            TestHttpsServer gone;
            closed = gone.port();
        }
        QTest::newRow("refused") << QUrl(QStringLiteral("https://127.0.0.1:%1/").arg(closed));
        QTest::newRow("no such name") << QUrl(QStringLiteral("https://nobody.invalid/"));
        for (const char *url : {"", "https://", "https:///path", "relative/path", "file:///etc/passwd",
                                "data:text/plain,hello", "ftp://127.0.0.1/", "qrc:/x", "http://[::1"})
            QTest::newRow(url) << QUrl(QString::fromLatin1(url));
    }
    void anUnreachableServerIsATransportError() {
        QFETCH(QUrl, url);
        QCOMPARE(get(url).error, Error::Transport);
    }

    void redirectsAreFollowed_data() {
        QTest::addColumn<int>("status");
        for (const int status : {301, 302, 303, 307, 308})
            QTest::addRow("%d", status) << status;
    }
    void redirectsAreFollowed() {
        QFETCH(int, status);
        server.on(QStringLiteral("/here"),
                  TestHttpsServer::redirectsTo(server.url(QStringLiteral("/there")), status));
        server.on(QStringLiteral("/there"),
                  TestHttpsServer::redirectsTo(QUrl(QStringLiteral("sub/end?a=b")), status));
        server.on(QStringLiteral("/sub/end?a=b"), TestHttpsServer::replies(200, "arrived"));
        const HttpReply reply = get(QStringLiteral("/here"));
        QCOMPARE(reply.error, Error::None);
        QCOMPARE(reply.statusCode, 200);
        QCOMPARE(reply.body, QByteArray("arrived"));
    }

    void aRedirectIsFollowedWhateverBecomesOfItsPage_data() {
        QTest::addColumn<int>("kind");
        QTest::newRow("endless") << 0;
        QTest::newRow("never comes") << 1;
        QTest::newRow("cut") << 2;
        QTest::newRow("reset") << 3;
    }
    void aRedirectIsFollowedWhateverBecomesOfItsPage() {
        QFETCH(int, kind);
        server.on(QStringLiteral("/moved"), [kind](TestExchange &exchange) {
            exchange.head(302, {{"Location", "/end"}, {"Content-Length", "1000000000"}});
            if (kind == 0)
                while (exchange.send(testPattern())) {
                }
            else if (kind == 1)
                exchange.stall();
            else if (kind == 2)
                exchange.close();
            else if (exchange.pause(50))  // so that the header is read before the reset
                exchange.reset();
        });
        server.on(QStringLiteral("/end"), TestHttpsServer::replies(200, "arrived"));
        QCOMPARE(get(QStringLiteral("/moved")).body, QByteArray("arrived"));
    }

    void aRedirectFromHttpToHttpsIsFollowed() {
        server.on(QStringLiteral("/up"), TestHttpsServer::replies(200, "safe"));
        plain.on(QStringLiteral("/up"), TestHttpsServer::redirectsTo(server.url(QStringLiteral("/up"))));
        QCOMPARE(get(plain.url(QStringLiteral("/up"))).body, QByteArray("safe"));
    }

    void aRedirectThatMustNotBeFollowedIsATransportError_data() {
        QTest::addColumn<QUrl>("target");
        QTest::newRow("to http") << plain.url(QStringLiteral("/down"));
        QTest::newRow("to itself") << server.url(QStringLiteral("/bad"));
        QTest::newRow("to a file") << QUrl(QStringLiteral("file:///etc/passwd"));
        QTest::newRow("to data") << QUrl(QStringLiteral("data:text/plain,hello"));
        QTest::newRow("to ftp") << QUrl(QStringLiteral("ftp://127.0.0.1/x"));
    }
    void aRedirectThatMustNotBeFollowedIsATransportError() {
        QFETCH(QUrl, target);
        plain.on(QStringLiteral("/down"), TestHttpsServer::replies(200, "unsafe"));
        server.on(QStringLiteral("/bad"), TestHttpsServer::redirectsTo(target));
        QCOMPARE(get(QStringLiteral("/bad")).error, Error::Transport);
        QCOMPARE(plain.requestCount(QStringLiteral("/down")), 0);
    }

    void twentyRedirectsAreFollowedAndNoMore() {
        for (int i = 0; i < 21; ++i)
            server.on(QStringLiteral("/hop%1").arg(i),
                      TestHttpsServer::redirectsTo(QUrl(QStringLiteral("/hop%1").arg(i + 1))));
        server.on(QStringLiteral("/hop21"), TestHttpsServer::replies(200, "end"));
        QCOMPARE(get(QStringLiteral("/hop1")).body, QByteArray("end"));
        QCOMPARE(get(QStringLiteral("/hop0")).error, Error::Transport);
    }

    void aRedirectWithoutATargetIsAReplyLikeAnyOther() {
        server.on(QStringLiteral("/nowhere"), TestHttpsServer::replies(302, "page"));
        const HttpReply reply = get(QStringLiteral("/nowhere"));
        QCOMPARE(reply.error, Error::None);
        QCOMPARE(reply.statusCode, 302);
        QCOMPARE(reply.body, QByteArray("page"));
    }

    void nothingIsKeptBetweenRequests() {
        server.on(QStringLiteral("/memory"),
                  TestHttpsServer::replies(
                      200, "x", {{"Set-Cookie", "a=b; Path=/"}, {"Cache-Control", "max-age=1000"}}));
        const auto before = server.requestCount(QStringLiteral("/memory"));
        inBackground([&] {
            HttpSession session(configuration());
            for (int i = 0; i < 2; ++i)
                session.fetchData(server.url(QStringLiteral("/memory")));
            return 0;
        });
        QCOMPARE(server.requestCount(QStringLiteral("/memory")), before + 2);
        QVERIFY(!server.requests().last().headers.contains("cookie"));
    }

  private:
    TestHttpsServer plain;
};

TEST_CLASS(HttpSessionTest, QCoreApplication)
#include "HttpSessionTest.moc"

#include "Background.h"
#include "HttpSession.h"
#include "NameLookup.h"
#include "TestHttpsServer.h"
#include "TestProgram.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace ferrolt;
using Error = HttpReply::Error;

/// A proxy that connects every request to one server, whatever the host name. Lives on the main thread, whose
/// event loop the tests run.
class OneWayProxy : public QTcpServer {
  public:
    explicit OneWayProxy(quint16 target) : target(target) {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] { take(nextPendingConnection()); });
    }

    QByteArray url() const { return "http://127.0.0.1:" + QByteArray::number(serverPort()); }

    QByteArray asked;

  private:
    void take(QTcpSocket *client) {
        connect(client, &QTcpSocket::readyRead, client, [this, client] {
            if (auto *server = client->findChild<QTcpSocket *>()) {
                server->write(client->readAll());
                return;
            }
            asked += client->readAll();
            if (!asked.contains("\r\n\r\n"))
                return;
            auto *server = new QTcpSocket(client);
            connect(server, &QTcpSocket::connected, client,
                    [client] { client->write("HTTP/1.1 200 Connected\r\n\r\n"); });
            connect(server, &QTcpSocket::readyRead, client,
                    [client, server] { client->write(server->readAll()); });
            connect(server, &QTcpSocket::disconnected, client, &QTcpSocket::disconnectFromHost);
            server->connectToHost(QHostAddress::LocalHost, target);
        });
    }

    quint16 target;
};

class HttpProxyTest : public QObject {
    Q_OBJECT

    TestAuthority authority;
    TestHttpsServer server{authority.issue({QStringLiteral("launcher.test"), QStringLiteral("mirror.test"),
                                            QStringLiteral("local.test"), QStringLiteral("127.0.0.1"),
                                            QStringLiteral("192.168.1.1")})};

    HttpReply get(const char *url) const {
        HttpConfiguration configuration;
        configuration.extraAuthorities = authority.certificate();
        const QUrl asked(QString::fromLatin1(url));
        return inBackground([&] { return HttpSession(configuration).fetchData(asked); });
    }

  private Q_SLOTS:
    void initTestCase() {
        for (const char *name : {"http_proxy", "https_proxy", "no_proxy", "HTTP_PROXY", "HTTPS_PROXY",
                                 "NO_PROXY", "all_proxy", "ALL_PROXY"})
            qunsetenv(name);
    }

    void cleanup() {
        for (const char *name : {"http_proxy", "https_proxy"})
            qunsetenv(name);
    }

    void theSystemsProxyIsUsed() {
        OneWayProxy proxy(server.port());
        qputenv("https_proxy", proxy.url());
        server.on(QStringLiteral("/behind"), TestHttpsServer::replies(200, "through the proxy"));
        const HttpReply reply = get("https://launcher.test/behind");
        QCOMPARE(reply.error, Error::None);
        QCOMPARE(reply.body, QByteArray("through the proxy"));
        QVERIFY(proxy.asked.startsWith("CONNECT launcher.test:443 "));
    }

    void aProxyThatIsNotThereIsATransportError() {
        quint16 closed = 0;
        {
            TestHttpsServer gone;
            closed = gone.port();
        }
        qputenv("https_proxy", "http://127.0.0.1:" + QByteArray::number(closed));
        QCOMPARE(get("https://launcher.test/").error, Error::Transport);
    }

    // Behind a proxy a server on loopback can have a public name: it resolves to a public address, to which
    // no connection is made.

    void aPublicServerMayRedirectToAnother() {
        OneWayProxy proxy(server.port());
        qputenv("https_proxy", proxy.url());
        NameLookup::instance().addresses = {{"launcher.test", {"93.184.216.34"}},
                                            {"mirror.test", {"93.184.216.35"}}};
        server.on(QStringLiteral("/moved"),
                  TestHttpsServer::redirectsTo(QUrl(QStringLiteral("https://mirror.test/arrived"))));
        server.on(QStringLiteral("/arrived"), TestHttpsServer::replies(200, "arrived"));
        QCOMPARE(get("https://launcher.test/moved").body, QByteArray("arrived"));
        QVERIFY(proxy.asked.contains("CONNECT mirror.test:443 "));
    }

    void aPublicServerMayNotRedirectToThisMachineOrItsNetwork_data() {
        QTest::addColumn<QString>("target");
        QTest::newRow("loopback") << server.base();
        QTest::newRow("a name for it") << QStringLiteral("https://local.test");
        QTest::newRow("private") << QStringLiteral("https://192.168.1.1");
    }
    void aPublicServerMayNotRedirectToThisMachineOrItsNetwork() {
        QFETCH(QString, target);
        OneWayProxy proxy(server.port());
        qputenv("https_proxy", proxy.url());
        NameLookup::instance().addresses = {{"launcher.test", {"93.184.216.34"}},
                                            {"local.test", {"127.0.0.1"}}};
        server.on(QStringLiteral("/evil"),
                  TestHttpsServer::redirectsTo(QUrl(target + QStringLiteral("/secret"))));
        server.on(QStringLiteral("/secret"), TestHttpsServer::replies(200, "secret"));
        QCOMPARE(get("https://launcher.test/evil").error, Error::Transport);
        QCOMPARE(server.requestCount(QStringLiteral("/secret")), 0);
        QCOMPARE(proxy.asked.count("CONNECT"), 1);
    }
};

TEST_CLASS(HttpProxyTest, QCoreApplication)
#include "HttpProxyTest.moc"

#include "Background.h"
#include "HttpSession.h"
#include "ManualTime.h"
#include "TestHttpsServer.h"
#include "Waiting.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <atomic>

#include <poll.h>
#include <sys/socket.h>

using namespace ferrolt;
using namespace std::chrono_literals;
using Error = HttpReply::Error;

/// A proxy that takes whoever asks for any name to one and the same server. Lives on the main thread, which
/// the tests keep going.
class OneWayProxy : public QTcpServer {
  public:
    explicit OneWayProxy(quint16 target) : target(target) {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] { take(nextPendingConnection()); });
    }

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
    TestHttpsServer server{authority.issue({QStringLiteral("launcher.test")})};

    HttpConfiguration configuration() const {
        HttpConfiguration configuration;
        configuration.extraAuthorities = authority.certificate();
        return configuration;
    }

  private Q_SLOTS:
    void initTestCase() {
        for (const char *name : {"http_proxy", "https_proxy", "no_proxy", "HTTP_PROXY", "HTTPS_PROXY",
                                 "NO_PROXY", "all_proxy", "ALL_PROXY"})
            qunsetenv(name);
    }

    void theSystemsProxyIsUsed() {
        OneWayProxy proxy(server.port());
        qputenv("https_proxy", "http://127.0.0.1:" + QByteArray::number(proxy.serverPort()));
        server.on(QStringLiteral("/behind"), TestHttpsServer::replies(200, "through the proxy"));
        HttpSession session(configuration());
        const HttpReply reply = inBackground(
            [&] { return session.fetchData(QUrl(QStringLiteral("https://launcher.test/behind"))); });
        qunsetenv("https_proxy");
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
        HttpSession session(configuration());
        const HttpReply reply =
            inBackground([&] { return session.fetchData(QUrl(QStringLiteral("https://launcher.test/"))); });
        qunsetenv("https_proxy");
        QCOMPARE(reply.error, Error::Transport);
    }

    void aProxyScriptThatNeverComesCostsNoMoreThanTheTimeOut() {
        TestHttpsServer scripts;
        scripts.on(QStringLiteral("/proxy.pac"), TestHttpsServer::neverAnswers());
        qputenv("https_proxy", "pac+" + scripts.base().toUtf8() + "/proxy.pac");
        auto configured = configuration();
        const auto time = std::make_shared<ManualTime>();
        configured.time = time;
        {
            HttpSession session(configured);
            std::atomic<bool> over = false;
            std::atomic<Error> error = Error::None;
            session.fetch(QUrl(QStringLiteral("https://launcher.test/")), [&](const HttpReply &reply) {
                error = reply.error;
                over = true;
            });
            QVERIFY(waitUntil([&] {
                time->advance(5s);
                QTest::qWait(10);
                return over.load();
            }));
            // Without a library that runs such scripts the proxy is left out, and the name is not found.
            QVERIFY(error == Error::TimedOut || error == Error::Transport);
        }
        qunsetenv("https_proxy");
    }
};

QTEST_GUILESS_MAIN(HttpProxyTest)
#include "HttpProxyTest.moc"

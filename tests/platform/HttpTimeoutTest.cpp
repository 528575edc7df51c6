#include "Background.h"
#include "HttpSession.h"
#include "ManualTime.h"
#include "TestHttpsServer.h"
#include "Waiting.h"

#include <QTemporaryDir>
#include <QTest>

#include <atomic>

using namespace ferrolt;
using namespace std::chrono_literals;
using Error = HttpReply::Error;

class HttpTimeoutTest : public QObject {
    Q_OBJECT

    TestAuthority authority;
    TestHttpsServer server{authority.issue()};
    TestHttpsServer plain;
    std::shared_ptr<ManualTime> time;

    /// The installer's session, on the test's time.
    HttpConfiguration configuration() const {
        HttpConfiguration configuration;
        configuration.storage = HttpConfiguration::Storage::Ephemeral;
        configuration.requestTimeout = 30s;
        configuration.resourceTimeout = 900s;
        configuration.time = time;
        configuration.extraAuthorities = authority.certificate();
        return configuration;
    }

    struct Pending {
        std::atomic<bool> over = false;
        HttpReply reply;
    };
    static std::shared_ptr<Pending> start(HttpSession &session, const QUrl &url) {
        auto pending = std::make_shared<Pending>();
        session.fetch(url, [pending](HttpReply reply) {
            pending->reply = std::move(reply);
            pending->over = true;
        });
        return pending;
    }

  private Q_SLOTS:
    void init() { time = std::make_shared<ManualTime>(); }

    void aServerThatNeverAnswersIsGivenThirtySeconds() {
        server.on(QStringLiteral("/never"), TestHttpsServer::neverAnswers());
        HttpSession session(configuration());
        const auto pending = start(session, server.url(QStringLiteral("/never")));
        QVERIFY(waitUntil([&] { return server.requestCount(QStringLiteral("/never")) > 0; }));
        time->advance(29s);
        QTest::qWait(500);  // more than the session lets pass between two looks at the clock
        QVERIFY(!pending->over);
        time->advance(2s);
        QVERIFY(waitUntil([&] { return pending->over.load(); }));
        QCOMPARE(pending->reply.error, Error::TimedOut);
    }

    void aServerThatDoesNotEvenShakeHandsIsGivenThirtySeconds() {
        HttpSession session(configuration());
        const auto pending = start(session, QUrl(QStringLiteral("https://127.0.0.1:%1/").arg(plain.port())));
        QVERIFY(waitUntil([&] { return plain.openConnectionCount() > 0; }));
        QVERIFY(!pending->over);
        QVERIFY(waitUntil([&] {
            time->advance(10s);
            QTest::qWait(50);
            return pending->over.load();
        }));
        QCOMPARE(pending->reply.error, Error::TimedOut);
    }

    void aStallInTheMiddleEndsADownloadAfterThirtySeconds() {
        QTemporaryDir folder;
        server.on(QStringLiteral("/stalls"),
                  TestHttpsServer::stallsAfter(500'000, QByteArray(1'000'000, 'x')));
        HttpSession session(configuration());
        std::atomic<std::int64_t> received = 0;
        std::atomic<bool> over = false;
        std::thread mover([&] {
            while (!over) {
                std::this_thread::sleep_for(10ms);
                if (received > 0)
                    time->advance(1s);
            }
        });
        const HttpReply reply = inBackground([&] {
            return session.downloadFile(server.url(QStringLiteral("/stalls")),
                                        folder.filePath(QStringLiteral("image")).toStdString(),
                                        [&](std::int64_t count, std::int64_t) { received = count; });
        });
        over = true;
        mover.join();
        QCOMPARE(reply.error, Error::TimedOut);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void aTrickleIsActivityUntilNineHundredSecondsAreOver() {
        server.on(QStringLiteral("/trickle"), TestHttpsServer::trickles(QByteArray(1'000'000, 'x'), 5));
        // Wide enough apart that a machine under load, which lets the trickle pause, does not decide the
        // outcome.
        auto patient = configuration();
        patient.requestTimeout = 600s;
        HttpSession session(patient);
        const auto started = time->now();
        const auto pending = start(session, server.url(QStringLiteral("/trickle")));
        QVERIFY(waitUntil([&] { return server.requestCount(QStringLiteral("/trickle")) > 0; }));
        QVERIFY(waitUntil(
            [&] {
                time->advance(3s);
                QTest::qWait(10);
                return pending->over.load();
            },
            std::chrono::minutes(1)));
        QCOMPARE(pending->reply.error, Error::TimedOut);
        QVERIFY(time->now() - started >= 900s);
    }

    void redirectsDoNotStretchTheWholeTime() {
        server.on(QStringLiteral("/round"), [this](TestExchange &exchange) {
            time->advance(29s);
            exchange.pause(250);  // more than the session lets pass between two looks at the clock
            exchange.reply(302, {}, {{"Location", "/round"}});
        });
        auto limited = configuration();
        limited.resourceTimeout = 100s;
        HttpSession session(limited);
        const auto pending = start(session, server.url(QStringLiteral("/round")));
        QVERIFY(waitUntil([&] { return pending->over.load(); }));
        QCOMPARE(pending->reply.error, Error::TimedOut);
        QVERIFY(server.requestCount(QStringLiteral("/round")) <=
                6);  // long before there are too many redirects
    }

    void theRealClockCountsToo() {
        server.on(QStringLiteral("/never"), TestHttpsServer::neverAnswers());
        auto quick = configuration();
        quick.time = systemTime();
        quick.requestTimeout = 300ms;
        HttpSession session(quick);
        QElapsedTimer elapsed;
        elapsed.start();
        const HttpReply reply =
            inBackground([&] { return session.fetchData(server.url(QStringLiteral("/never"))); });
        QCOMPARE(reply.error, Error::TimedOut);
        QVERIFY(elapsed.elapsed() >= 300);
        QVERIFY(elapsed.elapsed() < 3000);
    }

    void theSharedSessionsTimesAreThePlatformsDefaults() {
        const HttpConfiguration shared;
        QCOMPARE(shared.storage, HttpConfiguration::Storage::Shared);
        QVERIFY(shared.requestTimeout == 60s);
        QVERIFY(shared.resourceTimeout == 168h);
    }
};

QTEST_GUILESS_MAIN(HttpTimeoutTest)
#include "HttpTimeoutTest.moc"

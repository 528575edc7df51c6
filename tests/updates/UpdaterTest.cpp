#include "Background.h"
#include "HttpSession.h"
#include "MainQueue.h"
#include "TestHttpsServer.h"
#include "TestProgram.h"
#include "Updater.h"
#include "Waiting.h"

#include <QSignalSpy>
#include <QTest>

#include <vector>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

const QString manifestPath = QStringLiteral("/download/updates/macminerdeploy.json");

using Interval = std::optional<std::int64_t>;

}  // namespace

class UpdaterTest : public QObject {
    Q_OBJECT

    TestAuthority authority;
    std::unique_ptr<TestHttpsServer> server;
    std::unique_ptr<Updater> updater;

    void create(const QString &base, HttpConfiguration http = {}) {
        http.extraAuthorities = authority.certificate();
        updater = std::make_unique<Updater>(http, base);
    }
    void publish(const QByteArray &body, int status = 200) {
        server->on(manifestPath, TestHttpsServer::replies(status, body));
    }
    bool initialCheckEnds() {
        updater->runInitialCheck();
        return waitUntil([&] { return updater->_isUpdateCheckComplete.get(); });
    }
    /// The interval of a periodic check, which must call back once, on the main thread.
    Interval check() {
        int calls = 0;
        Interval interval;
        bool onMain = false;
        updater->runPeriodicCheck([&](Interval handed) {
            interval = handed;
            onMain = MainQueue::isMainThread();
            ++calls;
        });
        const bool insideTheCall = calls > 0;
        const bool came = waitUntil([&] { return calls > 0; });
        bool hasTurned = false;
        MainQueue::async([&] { hasTurned = true; });
        waitUntil([&] { return hasTurned; });
        [&] {
            QVERIFY(came);
            QVERIFY(onMain);
            QVERIFY(!insideTheCall);
            QCOMPARE(calls, 1);
        }();
        return interval;
    }
    std::optional<QString> version() const { return updater->_libreOfficeVersion.get(); }

  private Q_SLOTS:
    void init() {
        server = std::make_unique<TestHttpsServer>(authority.issue());
        create(server->base());
    }
    void cleanup() {
        updater.reset();
        server.reset();
    }

    void aManifestWithBothKeysPublishesTheVersionAndHandsTheInterval() {
        publish(R"({"checkUpdateInterval":6,"libreofficeversion":"26.2.4"})");
        QCOMPARE(check(), Interval(6));
        QCOMPARE(version(), std::optional(QStringLiteral("26.2.4")));
        QCOMPARE(server->requestCount(manifestPath), 1);
        QVERIFY(!updater->_isUpdateCheckComplete);
    }

    void theVersionIsPublishedBeforeTheIntervalIsHandedOver() {
        publish(R"({"checkUpdateInterval":6,"libreofficeversion":"26.2.4"})");
        std::optional<QString> seen;
        bool over = false;
        updater->runPeriodicCheck([&](Interval) {
            seen = version();
            over = true;
        });
        QVERIFY(waitUntil([&] { return over; }));
        QCOMPARE(seen, std::optional(QStringLiteral("26.2.4")));
    }

    void aManifestWithoutAnIntervalHandsNothing() {
        publish(R"({"libreofficeversion":"26.2.4"})");
        QCOMPARE(check(), Interval());
        QCOMPARE(version(), std::optional(QStringLiteral("26.2.4")));
    }

    void keysThatAreNotKnownOrWrittenOtherwiseAreIgnored_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("unknown") << QByteArray(
            R"({"channel":[{"checkUpdateInterval":9}],"checkUpdateInterval":6,"next":null,"libreofficeversion":"26.2.4"})");
        QTest::newRow("another case") << QByteArray(
            R"({"CheckUpdateInterval":9,"checkUpdateInterval":6,"libreOfficeVersion":"1","libreofficeversion":"26.2.4"})");
    }
    void keysThatAreNotKnownOrWrittenOtherwiseAreIgnored() {
        QFETCH(QByteArray, body);
        publish(body);
        QCOMPARE(check(), Interval(6));
        QCOMPARE(version(), std::optional(QStringLiteral("26.2.4")));
    }

    void keysInAnotherCaseAreNoKeys() {
        publish(R"({"CheckUpdateInterval":9,"libreOfficeVersion":"1"})");
        QCOMPARE(check(), Interval());
        QCOMPARE(version(), std::nullopt);
    }

    void zeroAndNegativeIntervalsAreHandedOverAsTheyAre() {
        publish(R"({"checkUpdateInterval":0})");
        QCOMPARE(check(), Interval(0));
        publish(R"({"checkUpdateInterval":-3})");
        QCOMPARE(check(), Interval(-3));
    }

    void aVersionOfNullClearsThePublishedOne() {
        publish(R"({"libreofficeversion":"26.2.4"})");
        check();
        publish(R"({"libreofficeversion":null})");
        check();
        QCOMPARE(version(), std::nullopt);
    }

    void aManifestWithoutTheVersionClearsThePublishedOne() {
        publish(R"({"libreofficeversion":"26.2.4"})");
        QVERIFY(initialCheckEnds());
        publish(R"({"checkUpdateInterval":2})");
        QCOMPARE(check(), Interval(2));
        QCOMPARE(version(), std::nullopt);
    }

    void a404WhoseBodyIsNotJsonFailsTheCheck() {
        publish("<html>Not found</html>", 404);
        QCOMPARE(check(), Interval());
        QVERIFY(initialCheckEnds());
        QCOMPARE(version(), std::nullopt);
    }

    void a500WhoseBodyIsAManifestIsUsed() {
        publish(R"({"checkUpdateInterval":6,"libreofficeversion":"26.2.4"})", 500);
        QCOMPARE(check(), Interval(6));
        QCOMPARE(version(), std::optional(QStringLiteral("26.2.4")));
    }

    void withTheServerUnreachableTheInitialCheckStillCompletes() {
        create(QStringLiteral("https://127.0.0.1:%1").arg(server->port()));
        server.reset();
        QVERIFY(initialCheckEnds());
        QCOMPARE(version(), std::nullopt);
        QCOMPARE(check(), Interval());
    }

    void withAServerThatNeverAnswersTheInitialCheckCompletesAtItsTimeOut() {
        HttpConfiguration http;
        http.requestTimeout = 500ms;
        create(server->base(), http);
        server->on(manifestPath, TestHttpsServer::neverAnswers());
        QElapsedTimer elapsed;
        elapsed.start();
        QVERIFY(initialCheckEnds());
        QVERIFY(elapsed.elapsed() >= 450);
        QCOMPARE(version(), std::nullopt);
    }

    void aServerThatTricklesDoesNotHoldBackTheInitialCheck() {
        HttpConfiguration http;
        http.resourceTimeout = 1s;
        create(server->base(), http);
        const QByteArray body = R"({"libreofficeversion":"26.2.4"})" + QByteArray(500, ' ');
        server->on(manifestPath, TestHttpsServer::trickles(body, 20));
        QVERIFY(initialCheckEnds());
        QCOMPARE(version(), std::nullopt);  // the whole manifest would arrive after 10 seconds
    }

    void anAddressThatIsNoUrlCompletesTheCheckWithoutARequest_data() {
        QTest::addColumn<QString>("base");
        for (const char *base :
             {"", "https://", "https://bad host", "https://[::1", "http://host:99999999", "%", "://"})
            QTest::newRow(base) << QString::fromLatin1(base);
    }
    void anAddressThatIsNoUrlCompletesTheCheckWithoutARequest() {
        QFETCH(QString, base);
        create(base);
        updater->runInitialCheck();
        QVERIFY(!updater->_isUpdateCheckComplete);
        QVERIFY(waitUntil([&] { return updater->_isUpdateCheckComplete.get(); }));
        QCOMPARE(check(), Interval());
    }

    void aFailedCheckLeavesTheLastVersionInPlace_data() {
        QTest::addColumn<QByteArray>("body");
        for (const char *body :
             {"", "null", "[]", "<html>", R"({"checkUpdateInterval":6.5,"libreofficeversion":"1"})",
              R"({"checkUpdateInterval":"6","libreofficeversion":"1"})",
              R"({"checkUpdateInterval":1e30,"libreofficeversion":"1"})", R"({"libreofficeversion":1})",
              R"({"libreofficeversion":"1")"})
            QTest::newRow(body) << QByteArray(body);
    }
    void aFailedCheckLeavesTheLastVersionInPlace() {
        QFETCH(QByteArray, body);
        publish(R"({"libreofficeversion":"26.2.4"})");
        QVERIFY(initialCheckEnds());
        publish(body);
        QCOMPARE(check(), Interval());
        QCOMPARE(version(), std::optional(QStringLiteral("26.2.4")));
    }

    void aManifestIsReadHoweverItIsTransferred() {
        const QByteArray body = R"({"checkUpdateInterval":6,"libreofficeversion":"26.2.4"})";
        for (const auto &handler :
             {TestHttpsServer::repliesCompressed(200, body), TestHttpsServer::repliesChunked(200, body, 3),
              TestHttpsServer::replies(200, "\xEF\xBB\xBF" + body), TestHttpsServer::replies(404, body)}) {
            server->on(manifestPath, handler);
            QCOMPARE(check(), Interval(6));
        }
        server->on(QStringLiteral("/elsewhere"), TestHttpsServer::replies(200, body));
        server->on(manifestPath, TestHttpsServer::redirectsTo(server->url(QStringLiteral("/elsewhere"))));
        QCOMPARE(check(), Interval(6));
    }

    void aManifestThatDoesNotArriveWholeFailsTheCheck_data() {
        QTest::addColumn<int>("kind");
        QTest::newRow("cut inside blanks that would not matter") << 0;
        QTest::newRow("reset") << 1;
        QTest::newRow("100 MB of blanks around it") << 2;
        QTest::newRow("redirect to http") << 3;
    }
    void aManifestThatDoesNotArriveWholeFailsTheCheck() {
        QFETCH(int, kind);
        const QByteArray body = R"({"checkUpdateInterval":6})" + QByteArray(100000, ' ');
        TestHttpsServer plain;
        plain.on(manifestPath, TestHttpsServer::replies(200, body));
        switch (kind) {
            case 0:
                server->on(manifestPath, TestHttpsServer::cutsAfter(50000, body));
                break;
            case 1:
                server->on(manifestPath, TestHttpsServer::resetsAfter(50000, body));
                break;
            case 2:
                server->on(manifestPath, [body](TestExchange &exchange) {
                    const auto chunk = [](const QByteArray &bytes) {
                        return QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n";
                    };
                    exchange.head(200, {{"Transfer-Encoding", "chunked"}});
                    exchange.send(chunk(body));
                    const QByteArray blanks = chunk(QByteArray(1'000'000, ' '));
                    for (int i = 0; i < 100 && exchange.send(blanks); ++i) {
                    }
                    exchange.send("0\r\n\r\n");
                });
                break;
            default:
                server->on(manifestPath, TestHttpsServer::redirectsTo(plain.url(manifestPath)));
        }
        QCOMPARE(check(), Interval());
    }

    void aServerWithABadCertificateIsNotBelieved() {
        TestHttpsServer imposter(TestAuthority::selfSigned());
        imposter.on(manifestPath, TestHttpsServer::replies(200, R"({"libreofficeversion":"6.6.6"})"));
        create(imposter.base());
        QVERIFY(initialCheckEnds());
        QCOMPARE(version(), std::nullopt);
    }

    void everyChangeIsAnnouncedBeforeItHappensOnTheMainThread() {
        publish(R"({"libreofficeversion":"26.2.4"})");
        struct Seen {
            bool complete;
            bool hasVersion;
            bool onMain;
        };
        std::vector<Seen> seen;
        connect(updater.get(), &Updater::objectWillChange, this, [&] {
            seen.push_back(
                {updater->_isUpdateCheckComplete, version().has_value(), MainQueue::isMainThread()});
        });
        updater->runInitialCheck();
        QVERIFY(seen.empty());
        QVERIFY(waitUntil([&] { return updater->_isUpdateCheckComplete.get(); }));
        QCOMPARE(seen.size(), std::size_t(2));
        QVERIFY(!seen[0].complete && !seen[0].hasVersion && seen[0].onMain);
        QVERIFY(!seen[1].complete && seen[1].hasVersion && seen[1].onMain);
    }

    void theInitialCheckCompletesOnceAndForGood() {
        publish("not a manifest");
        QSignalSpy changes(updater.get(), &Updater::objectWillChange);
        QVERIFY(initialCheckEnds());
        QCOMPARE(changes.count(), 1);
        updater->runInitialCheck();
        QVERIFY(waitUntil([&] { return server->requestCount(manifestPath) == 2; }));
        check();
        QVERIFY(updater->_isUpdateCheckComplete);
        QCOMPARE(changes.count(), 1);
    }

    void aCheckWhoseUpdaterIsGoneEndsWithoutEffect() {
        int calls = 0;
        publish(R"({"checkUpdateInterval":6})");
        for (int turns = 0; turns < 20; ++turns) {
            create(server->base());
            updater->runInitialCheck();
            updater->runPeriodicCheck([&](Interval) { ++calls; });
            // From before the request is sent until its result waits in the main queue.
            std::this_thread::sleep_for(std::chrono::milliseconds(turns));
            updater.reset();
            QTest::qWait(5);
        }
        QCOMPARE(calls, 0);
    }

    void destroyingAnUpdaterDoesNotWaitForAServerThatNeverAnswers() {
        server->on(manifestPath, TestHttpsServer::neverAnswers());
        updater->runInitialCheck();
        QVERIFY(waitUntil([&] { return server->requestCount(manifestPath) == 1; }));
        QElapsedTimer elapsed;
        elapsed.start();
        updater.reset();
        QVERIFY(elapsed.elapsed() < 2000);
    }
};

TEST_CLASS(UpdaterTest, QCoreApplication)
#include "UpdaterTest.moc"

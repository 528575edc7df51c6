#include "InstallationScene.h"
#include "Waiting.h"

#include <QTest>

#include <atomic>
#include <chrono>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

const QString version = QStringLiteral("26.2.4");
const QString verifying = QStringLiteral("Verifying download\u2026\n");
const QString mismatch = QStringLiteral("Checksum mismatch from this mirror; trying another.\n");

}  // namespace

/// Mirrors that do not deliver. Each stands before a good one, and each alone.
class InstallerMirrorsTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<InstallationScene> scene;
    std::shared_ptr<ManualTime> time;

    QString bad(TestHttpsServer::Handler handler) {
        scene->server.on(QStringLiteral("/bad.dmg"), std::move(handler));
        return scene->server.url(QStringLiteral("/bad.dmg")).toString();
    }

    /// The bad mirror's lines, then those of the good one; and with the bad one alone a failure that changes
    /// nothing.
    void isPassedOver(const QString &mirror, const QStringList &lines = {InstallationScene::downloading()}) {
        scene->publish({mirror, scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->log(), InstallationScene::linesOfAnInstallation(
                                   lines + QStringList{InstallationScene::downloading()}));
        QVERIFY(scene->isTemporaryFolderEmpty());

        const QStringList before = scene->log();
        scene->record(QStringLiteral("7.6.4"));
        scene->publish({mirror});
        QCOMPARE(scene->install(), InstallOutcome::failed(QStringLiteral(
                                       "could not download a verified LibreOffice DMG from any mirror")));
        QCOMPARE(scene->log().mid(before.size()),
                 (QStringList{QStringLiteral("LibreOffice 7.6.4 found; upgrading to 26.2.4.\n"),
                              QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n")} +
                  lines));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QCOMPARE(scene->installedContent(), QByteArray("new"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }

    qsizetype downloads() const { return scene->log().count(InstallationScene::downloading()); }

    /// As isPassedOver(), in a time that stands still: `letTimePass` moves it until the bad mirror, which is
    /// being asked when it is called, is given up.
    void isGivenUp(const QString &mirror, const std::function<void()> &letTimePass) {
        const auto install = [&](const InstallOutcome &expected) {
            const auto before = downloads();
            LibreOfficeInstaller installer(scene->services);
            std::optional<InstallOutcome> outcome;
            installer.install(version, scene->logger(),
                              [&](const InstallOutcome &result) { outcome = result; });
            QVERIFY(waitUntil([&] { return downloads() == before + 1; }));
            letTimePass();
            QVERIFY(waitUntil([&] { return outcome.has_value(); }));
            QCOMPARE(outcome, expected);
            QVERIFY(scene->isTemporaryFolderEmpty());
        };
        scene->publish({mirror, scene->goodMirror()});
        install(InstallOutcome::installed(version));
        QCOMPARE(scene->log(),
                 InstallationScene::linesOfAnInstallation(QStringList(2, InstallationScene::downloading())));

        scene->record(QStringLiteral("7.6.4"));
        scene->publish({mirror});
        install(InstallOutcome::failed(
            QStringLiteral("could not download a verified LibreOffice DMG from any mirror")));
        QCOMPARE(downloads(), 3);
        QCOMPARE(scene->log().last(), InstallationScene::downloading());
        QCOMPARE(scene->installedContent(), QByteArray("new"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }

    /// Just short of half a minute of silence a request still stands, and just after it no more.
    void passHalfAMinute(const std::function<bool()> &isGivenUp) {
        time->advance(29s);
        QTest::qWait(500);  // more than the session lets pass between two looks at the clock
        QVERIFY(!isGivenUp());
        time->advance(2s);
        QVERIFY(waitUntil(isGivenUp));
    }

  private Q_SLOTS:
    void init() {
        scene = std::make_unique<InstallationScene>();
        time = std::make_shared<ManualTime>();
    }

    void aMirrorThatDoesNotAnswerProperly_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("404") << 404 << QByteArray("not found");
        QTest::newRow("404 with the image") << 404 << QByteArray();
        QTest::newRow("403") << 403 << QByteArray("no");
        QTest::newRow("500") << 500 << QByteArray();
        QTest::newRow("503") << 503 << QByteArray("later");
        QTest::newRow("206 with the image") << 206 << QByteArray();
        QTest::newRow("204") << 204 << QByteArray("");
        QTest::newRow("a page of 500,000 bytes") << 200 << QByteArray(500'000, ' ');
        QTest::newRow("exactly 1,000,000 bytes") << 200 << QByteArray(1'000'000, 'x');
        QTest::newRow("an empty page") << 200 << QByteArray("");
    }
    void aMirrorThatDoesNotAnswerProperly() {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        isPassedOver(bad(TestHttpsServer::replies(status, body.isNull() ? scene->image : body)));
    }

    void aFileOfExactlyAMillionAndOneBytesIsVerified() {
        isPassedOver(bad(TestHttpsServer::replies(200, QByteArray(1'000'001, 'x'))),
                     {InstallationScene::downloading(), verifying, mismatch});
    }

    void aSmallImageOfExactlyAMillionBytesIsRefusedThoughItsDigestIsRight() {
        const QByteArray small(1'000'000, 'x');
        scene->server.on(InstallationScene::metalinkPath(),
                         TestHttpsServer::replies(
                             200, InstallationScene::metalink({bad(TestHttpsServer::replies(200, small))},
                                                              InstallationScene::sha256(small))));
        QCOMPARE(scene->install(), InstallOutcome::failed(QStringLiteral(
                                       "could not download a verified LibreOffice DMG from any mirror")));
        QVERIFY(!scene->log().contains(verifying));
    }

    void aWrongDigest() {
        QByteArray wrong = scene->image;
        wrong[wrong.size() - 1] = 'y';
        isPassedOver(bad(TestHttpsServer::replies(200, wrong)),
                     {InstallationScene::downloading(), verifying, mismatch});
    }

    void aConnectionThatEnds_data() {
        QTest::addColumn<bool>("isReset");
        QTest::newRow("reset in the middle") << true;
        QTest::newRow("shorter than announced") << false;
    }
    void aConnectionThatEnds() {
        QFETCH(bool, isReset);
        constexpr qsizetype most = 1'150'000;
        isPassedOver(bad(isReset ? TestHttpsServer::resetsAfter(most, scene->image)
                                 : TestHttpsServer::cutsAfter(most, scene->image)));
    }

    void aMirrorThatRefusesConnections() {
        auto gone = std::make_unique<TestHttpsServer>(scene->authority.issue());
        const QString mirror = gone->url(QStringLiteral("/image.dmg")).toString();
        gone.reset();
        isPassedOver(mirror);
    }

    void aMirrorWhoseNameIsNotFound() {
        isPassedOver(QStringLiteral("https://no-such-mirror.invalid/image.dmg"),
                     {InstallationScene::downloading(QStringLiteral("no-such-mirror.invalid"))});
    }

    void aMirrorWithoutAHostIsNamedWhole() {
        isPassedOver(QStringLiteral("https:image.dmg"),
                     {InstallationScene::downloading(QStringLiteral("https:image.dmg"))});
    }

    void aRedirectIsFollowedOnce() {
        const QString target = scene->goodMirror();
        scene->publish({bad(TestHttpsServer::redirectsTo(QUrl(target)))});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->log(), InstallationScene::linesOfAnInstallation({InstallationScene::downloading()}));
    }

    void aRedirectInALoop() {
        isPassedOver(bad(TestHttpsServer::redirectsTo(scene->server.url(QStringLiteral("/bad.dmg")))));
    }

    void aRedirectToHttp() {
        TestHttpsServer open;
        open.on(QStringLiteral("/image.dmg"), TestHttpsServer::replies(200, scene->image));
        isPassedOver(bad(TestHttpsServer::redirectsTo(open.url(QStringLiteral("/image.dmg")))));
        QCOMPARE(open.requests().size(), 0);
    }

    void aPlainHttpMirrorIsAsGoodAsItsDigest() {
        TestHttpsServer open;
        open.on(QStringLiteral("/image.dmg"), TestHttpsServer::replies(200, scene->image));
        scene->publish({open.url(QStringLiteral("/image.dmg")).toString()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
    }

    void aCertificateThatIsNotGood_data() {
        QTest::addColumn<int>("fault");
        QTest::newRow("expired") << 0;
        QTest::newRow("of another host") << 1;
        QTest::newRow("self-signed") << 2;
        QTest::newRow("of an unknown authority") << 3;
    }
    void aCertificateThatIsNotGood() {
        QFETCH(int, fault);
        const TestAuthority unknown;
        const QStringList here{QStringLiteral("127.0.0.1")};
        const TestCertificate certificates[] = {
            scene->authority.issue(here, TestAuthority::Validity::Expired),
            scene->authority.issue({QStringLiteral("mirror.example")}), TestAuthority::selfSigned(),
            unknown.issue(here)};
        TestHttpsServer mirror(certificates[fault]);
        mirror.on(QStringLiteral("/image.dmg"), TestHttpsServer::replies(200, scene->image));
        isPassedOver(mirror.url(QStringLiteral("/image.dmg")).toString());
        QCOMPARE(mirror.requests().size(), 0);
    }

    void everyMirrorBad() {
        QStringList mirrors;
        QStringList lines;
        for (int i = 0; i < 10; ++i) {
            const QString path = QStringLiteral("/bad%1.dmg").arg(i);
            scene->server.on(
                path, i % 2 == 0 ? TestHttpsServer::replies(404) : TestHttpsServer::replies(200, "page"));
            mirrors.append(scene->server.url(path).toString());
            lines.append(InstallationScene::downloading());
        }
        scene->publish(mirrors);
        QCOMPARE(scene->install(), InstallOutcome::failed(QStringLiteral(
                                       "could not download a verified LibreOffice DMG from any mirror")));
        QCOMPARE(scene->log(),
                 (QStringList{QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n")} + lines));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QVERIFY(!scene->recorded());
    }

    void theGoodMirrorLastOfFifty() {
        QStringList mirrors;
        for (int i = 0; i < 49; ++i)
            mirrors.append(scene->server.url(QStringLiteral("/missing%1").arg(i)).toString());
        scene->publish(mirrors + QStringList{scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(scene->log(),
                 InstallationScene::linesOfAnInstallation(QStringList(50, InstallationScene::downloading())));
        QVERIFY(scene->isTemporaryFolderEmpty());
    }

    void aMirrorThatStallsIsGivenUpAfterThirtySeconds() {
        scene->services.http.time = time;
        std::atomic<bool> stalls = false;
        const QString mirror = bad([&](TestExchange &exchange) {
            exchange.head(200, {{"Content-Length", QByteArray::number(scene->image.size())}});
            exchange.send(scene->image.left(100'000));
            stalls = true;
            exchange.stall();
        });
        isGivenUp(mirror, [&] {
            QVERIFY(waitUntil([&] { return stalls.load(); }));
            QTest::qWait(250);  // what was sent arrives, and counts as the last sign of life
            stalls = false;
            passHalfAMinute([&, before = downloads()] {
                return downloads() > before || !LibreOfficeInstaller::isInstalling();
            });
        });
    }

    void aServerThatStallsInsteadOfNamingMirrorsIsGivenUpAfterThirtySeconds() {
        scene->services.http.time = time;
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
        scene->server.on(InstallationScene::metalinkPath(),
                         TestHttpsServer::stallsAfter(10, "<metalink></metalink>"));
        LibreOfficeInstaller installer(scene->services);
        std::optional<InstallOutcome> outcome;
        installer.install(version, scene->logger(), [&](const InstallOutcome &result) { outcome = result; });
        QVERIFY(
            waitUntil([&] { return scene->server.requestCount(InstallationScene::metalinkPath()) == 1; }));
        QTest::qWait(250);
        passHalfAMinute([&] { return outcome.has_value(); });
        QCOMPARE(outcome, InstallOutcome::failed(QStringLiteral("failed to download Metalink file")));
        QCOMPARE(scene->log().last(), QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n"));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QCOMPARE(scene->installedContent(), QByteArray("old"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }

    void aMirrorThatNeverEndsIsGivenUpAfterFifteenMinutes() {
        scene->services.http.time = time;
        scene->services.http.requestTimeout = 300s;  // for larger steps than the installer's own would allow
        std::atomic<int> sent = 0;
        const QString mirror = bad([&](TestExchange &exchange) {
            exchange.head(200, {{"Content-Length", "100000000"}});
            while (exchange.send("x") && exchange.pause(5))
                ++sent;
        });
        isGivenUp(mirror, [&] {
            const auto start = time->now();
            const auto isOver = [&, before = downloads()] {
                return downloads() > before || !LibreOfficeInstaller::isInstalling();
            };
            while (!isOver() && !QTest::currentTestFailed()) {
                // Something arrives between any two steps, so it is never the silence that is too long.
                QVERIFY(waitUntil([&, before = sent.load()] { return isOver() || sent >= before + 4; }));
                if (!isOver())
                    time->advance(250s);
                waitUntil(isOver, std::chrono::milliseconds(250));
            }
            QVERIFY(time->now() - start >= 900s);
            QVERIFY(time->now() - start < 1100s);
        });
    }

    void aMirrorThatSendsMoreThanAnImageMayHaveIsPassedOver() {
        scene->services.http.largestFile = scene->image.size();
        isPassedOver(bad([](TestExchange &exchange) {
            exchange.head(200, {{"Transfer-Encoding", "chunked"}});
            const QByteArray chunk = "100000\r\n" + testPattern() + "\r\n";
            while (exchange.send(chunk)) {
            }
        }));
    }
};

QTEST_GUILESS_MAIN(InstallerMirrorsTest)
#include "InstallerMirrorsTest.moc"

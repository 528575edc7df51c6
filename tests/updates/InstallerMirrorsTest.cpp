#include "InstallationScene.h"
#include "TestProgram.h"

#include <QTest>

#include <chrono>
#include <filesystem>

using namespace ferrolt;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

const QString verifying = QStringLiteral("Verifying download\u2026\n");
const QString mismatch = QStringLiteral("Checksum mismatch from this mirror; trying another.\n");

}  // namespace

/// Mirrors that fail. Each is tried before a good one, and each alone.
class InstallerMirrorsTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<InstallationScene> scene;

    QString bad(TestHttpsServer::Handler handler) {
        scene->server.on(QStringLiteral("/bad.dmg"), std::move(handler));
        return scene->server.url(QStringLiteral("/bad.dmg")).toString();
    }

    /// With a good mirror after it: its `lines`, then those of the good one. Alone: a failure that changes
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

  private Q_SLOTS:
    void init() { scene = std::make_unique<InstallationScene>(); }

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

    // The installer's own timeouts are 30 seconds and 15 minutes.

    void aMirrorThatStallsIsGivenUp() {
        scene->services.http.requestTimeout = 2s;
        isPassedOver(bad(TestHttpsServer::stallsAfter(100'000, scene->image)));
    }

    void aMirrorThatNeverEndsIsGivenUp() {
        scene->services.http.resourceTimeout = 3s;
        isPassedOver(bad([](TestExchange &exchange) {
            exchange.head(200, {{"Content-Length", "100000000"}});
            for (int i = 0; i < 3000 && exchange.send("x") && exchange.pause(5); ++i) {
            }
            exchange.close();
        }));
        // Once in each installation. The server would go on for 15 seconds.
        QVERIFY(scene->server.requestCount(QStringLiteral("/bad.dmg")) == 2);
    }

    void aServerThatStallsInsteadOfNamingMirrorsIsGivenUp() {
        scene->services.http.requestTimeout = 500ms;
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
        scene->server.on(InstallationScene::metalinkPath(),
                         TestHttpsServer::stallsAfter(10, "<metalink></metalink>"));
        QCOMPARE(scene->install(),
                 InstallOutcome::failed(QStringLiteral("failed to download Metalink file")));
        QCOMPARE(scene->log().last(), QStringLiteral("Fetching LibreOffice 26.2.4 download info\u2026\n"));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QCOMPARE(scene->installedContent(), QByteArray("old"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }

    void aThousandMirrorsAreTriedAndNoMore() {
        TestHttpsServer open;
        const QString missing = open.url(QStringLiteral("/missing")).toString();
        QStringList mirrors(999, missing);
        scene->publish(mirrors + QStringList{scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QCOMPARE(open.requests().size(), 999);

        fs::remove_all(scene->application);
        scene->publish(mirrors + QStringList{missing, scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::failed(QStringLiteral(
                                       "could not download a verified LibreOffice DMG from any mirror")));
        QCOMPARE(open.requests().size(), 1999);
    }

    void aMirrorsNameInTheLogIsBounded() {
        const QString endless = QStringLiteral("https:") + QString(1'000'000, QLatin1Char('x'));
        scene->publish({endless, scene->goodMirror()});
        QCOMPARE(scene->install(), InstallOutcome::installed(version));
        QVERIFY(scene->log().contains(InstallationScene::downloading(endless.left(255))));
    }

    void aMirrorThatSendsMoreThanAnImageMayHaveIsPassedOver() {
        scene->services.http.maxFileSize = scene->image.size();
        isPassedOver(bad([](TestExchange &exchange) {
            exchange.head(200, {{"Transfer-Encoding", "chunked"}});
            const QByteArray chunk = "100000\r\n" + testPattern() + "\r\n";
            while (exchange.send(chunk)) {
            }
        }));
    }
};

TEST_CLASS(InstallerMirrorsTest, QCoreApplication)
#include "InstallerMirrorsTest.moc"

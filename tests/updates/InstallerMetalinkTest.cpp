#include "InstallJob.h"
#include "InstallationScene.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"

#include <QRegularExpression>
#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

namespace {

const QString noDocument = QStringLiteral("failed to download Metalink file");
const QString noMirror = QStringLiteral("no download URLs in Metalink file");
const QString noHash = QStringLiteral("no valid SHA-256 hash in Metalink file");
const QString good(64, QLatin1Char('a'));
const QString somewhere = QStringLiteral("https://mirror.example/LibreOffice.dmg");

QByteArray document(const QString &inside) {
    return (QStringLiteral("<?xml version=\"1.0\"?>\n<metalink><file>") + inside +
            QStringLiteral("</file></metalink>"))
        .toUtf8();
}
QString url(const QString &text) {
    return QStringLiteral("<url>%1</url>").arg(text);
}
QString hash(const QString &text, const QString &type = QStringLiteral("sha-256")) {
    return QStringLiteral("<hash type=\"%1\">%2</hash>").arg(type, text);
}

}  // namespace

/// Installations with a faulty Metalink document or version text.
class InstallerMetalinkTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<InstallationScene> scene;

    void failsWith(const QString &reason, const QString &version = QStringLiteral("26.2.4")) {
        scene->installBefore();
        scene->record(QStringLiteral("7.6.4"));
        QCOMPARE(scene->install(version), InstallOutcome::failed(reason));
        QCOMPARE(scene->log(),
                 (QStringList{QStringLiteral("LibreOffice 7.6.4 found; upgrading to %1.\n").arg(version),
                              QStringLiteral("Fetching LibreOffice %1 download info\u2026\n").arg(version)}));
        QVERIFY(scene->isTemporaryFolderEmpty());
        QVERIFY(scene->tools->calls().empty());
        QCOMPARE(scene->installedContent(), QByteArray("old"));
        QCOMPARE(scene->recorded(), std::optional(QStringLiteral("7.6.4")));
    }

  private Q_SLOTS:
    void init() { scene = std::make_unique<InstallationScene>(); }

    void aBadReplyIsAFailure_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("reason");
        const QByteArray whole = document(hash(good) + url(somewhere));
        QTest::newRow("404") << 404 << QByteArray("not found") << noDocument;
        QTest::newRow("404 with a document") << 404 << whole << noDocument;
        QTest::newRow("500 with a document") << 500 << whole << noDocument;
        QTest::newRow("206 with a document") << 206 << whole << noDocument;
        QTest::newRow("204") << 204 << QByteArray() << noDocument;
        QTest::newRow("empty") << 200 << QByteArray() << noDocument;
        QTest::newRow("a page") << 200 << QByteArray("<!DOCTYPE html><html><body><p>Sorry<br></body></html>")
                                << noMirror;
        QTest::newRow("cut in the middle of a url") << 200 << document(url(somewhere)).left(70) << noMirror;
        QTest::newRow("cut in the middle of a hash")
            << 200 << document(url(somewhere) + hash(good)).chopped(40) << noHash;
        QTest::newRow("not XML") << 200
                                 << QByteArray(
                                        "\x7f"
                                        "ELF\x02\x01\x01")
                                 << noMirror;
        QTest::newRow("no URL that is http or https")
            << 200
            << document(hash(good) + url(QStringLiteral("ftp://a.example/b")) +
                        url(QStringLiteral("file:///etc/passwd")) +
                        url(QStringLiteral("rsync://a.example/b")))
            << noMirror;
        QTest::newRow("no URL but one with a blank in it")
            << 200 << document(hash(good) + url(QStringLiteral("https://a b/"))) << noMirror;
        QTest::newRow("neither URL nor hash") << 200 << document({}) << noMirror;
        QTest::newRow("no hash") << 200 << document(url(somewhere)) << noHash;
        QTest::newRow("hash of 63 characters")
            << 200 << document(hash(good.chopped(1)) + url(somewhere)) << noHash;
        QTest::newRow("hash of 65 characters")
            << 200 << document(hash(good + QLatin1Char('a')) + url(somewhere)) << noHash;
        QTest::newRow("hash that is not hexadecimal")
            << 200 << document(hash(good.chopped(1) + QLatin1Char('g')) + url(somewhere)) << noHash;
        QTest::newRow("hash with a character before the digits")
            << 200 << document(hash(good.chopped(1) + QLatin1Char('/')) + url(somewhere)) << noHash;
        QTest::newRow("hash with a character before the letters")
            << 200 << document(hash(good.chopped(1) + QLatin1Char(':')) + url(somewhere)) << noHash;
        QTest::newRow("hash with a line break")
            << 200 << document(hash(good.chopped(1) + QStringLiteral("\na")) + url(somewhere)) << noHash;
        QTest::newRow("hash of another type")
            << 200 << document(hash(good, QStringLiteral("sha-512")) + url(somewhere)) << noHash;
        QTest::newRow("the first of two hashes is bad")
            << 200 << document(hash(QStringLiteral("bad")) + hash(good) + url(somewhere)) << noHash;
    }
    void aBadReplyIsAFailure() {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, reason);
        scene->server.on(InstallationScene::metalinkPath(), TestHttpsServer::replies(status, body));
        failsWith(reason);
    }

    void aHundredMegabytesAreNotWaitedFor() {
        scene->server.on(InstallationScene::metalinkPath(), TestHttpsServer::repliesPattern(100'000'000));
        failsWith(noDocument);
    }

    void aConnectionThatBreaksIsAFailure() {
        scene->server.on(InstallationScene::metalinkPath(),
                         TestHttpsServer::resetsAfter(20, document(hash(good) + url(somewhere))));
        failsWith(noDocument);
    }

    void aDocumentOfABillionLaughsIsAFailureAndNoDanger() {
        QByteArray laughs = "<?xml version=\"1.0\"?>\n<!DOCTYPE metalink [<!ENTITY l0 \"ha\">";
        for (int level = 1; level < 30; ++level)
            laughs += "<!ENTITY l" + QByteArray::number(level) + " \"" +
                      QByteArray("&l" + QByteArray::number(level - 1) + ";").repeated(10) + "\">";
        laughs += "]>\n<metalink><file><url>https://a.example/&l29;</url></file></metalink>";
        scene->server.on(InstallationScene::metalinkPath(), TestHttpsServer::replies(200, laughs));
        failsWith(noMirror);
    }

    void externalEntitiesAreNeverFetched() {
        const QByteArray base = scene->server.base().toUtf8();
        scene->server.on(
            InstallationScene::metalinkPath(),
            TestHttpsServer::replies(200, "<?xml version=\"1.0\"?>\n<!DOCTYPE metalink SYSTEM \"" + base +
                                              "/dtd\" [<!ENTITY file SYSTEM \"file:///etc/passwd\">"
                                              "<!ENTITY net SYSTEM \"" +
                                              base +
                                              "/entity\">]>\n<metalink><file><url>&file;</url>"
                                              "<url>&net;</url></file></metalink>"));
        failsWith(noMirror);
        QCOMPARE(scene->server.requests().size(), 1);
    }

    void aDocumentThatIsOddButRightIsUsed_data() {
        QTest::addColumn<QString>("template_");
        QTest::newRow("url with blanks around it")
            << hash(QStringLiteral("%1")) + url(QStringLiteral("\n  %2 \t\n"));
        QTest::newRow("hash in upper case") << hash(QStringLiteral("%3")) + url(QStringLiteral("%2"));
        QTest::newRow("hash of another type first")
            << hash(good, QStringLiteral("sha-1")) + hash(QStringLiteral("%1")) + url(QStringLiteral("%2"));
        QTest::newRow("two hashes") << hash(QStringLiteral("%1")) + hash(good) + url(QStringLiteral("%2"));
        QTest::newRow("a mirror of another kind first") << hash(QStringLiteral("%1")) +
                                                               url(QStringLiteral("ftp://a.example/b")) +
                                                               url(QStringLiteral("%2"));
        QTest::newRow("cut behind what matters")
            << hash(QStringLiteral("%1")) + url(QStringLiteral("%2")) + QStringLiteral("<file");
    }
    void aDocumentThatIsOddButRightIsUsed() {
        QFETCH(QString, template_);
        const QString digest = InstallationScene::sha256(scene->image);
        template_.replace(QStringLiteral("%1"), digest)
            .replace(QStringLiteral("%2"), scene->goodMirror())
            .replace(QStringLiteral("%3"), digest.toUpper());
        scene->server.on(InstallationScene::metalinkPath(),
                         TestHttpsServer::replies(200, document(template_)));
        QCOMPARE(scene->install(), InstallOutcome::installed(QStringLiteral("26.2.4")));
        QCOMPARE(scene->log(), InstallationScene::linesOfAnInstallation({InstallationScene::downloading()}));
    }

    void theMetalinkUrlNamesTheVersionTwiceAndAlwaysTheSameProcessor() {
        QCOMPARE(InstallJob::metalinkURL(QStringLiteral("https://downloads.ferrolt.example"),
                                         QStringLiteral("26.2.4")),
                 QStringLiteral("https://downloads.ferrolt.example/libreoffice/stable/26.2.4/mac/aarch64/"
                                "LibreOffice_26.2.4_MacOS_aarch64.dmg.meta4"));
    }

    // The manifest can name any version text.

    void aVersionThatMakesNoUrlIsAFailureBeforeAnythingElse_data() {
        QTest::addColumn<QString>("version");
        QTest::newRow("blank") << QStringLiteral("26 2");
        QTest::newRow("double quote") << QStringLiteral("26\"2");
        QTest::newRow("line break") << QStringLiteral("26\n2");
        QTest::newRow("zero") << QStringLiteral("26") + QChar(0) + QStringLiteral("2");
        QTest::newRow("backslash") << QStringLiteral("26\\2");
        QTest::newRow("shell words") << QStringLiteral("$(touch owned); `touch owned`");
        QTest::newRow("markup") << QStringLiteral("<26>");
        QTest::newRow("broken escape") << QStringLiteral("26%zz");
    }
    void aVersionThatMakesNoUrlIsAFailureBeforeAnythingElse() {
        QFETCH(QString, version);
        QCOMPARE(
            scene->install(version),
            InstallOutcome::failed(QStringLiteral("could not build Metalink URL for version ") + version));
        QVERIFY(scene->log().isEmpty());
        QCOMPARE(scene->server.connectionCount(), 0);
        QVERIFY(scene->isTemporaryFolderEmpty());
        QVERIFY(!scene->recorded());
    }

    void aServerWithoutAHostIsAFailureBeforeAnythingElse() {
        scene->services.server = QStringLiteral("file:///srv");
        const QString version = QStringLiteral("26.2.4");
        QCOMPARE(
            scene->install(version),
            InstallOutcome::failed(QStringLiteral("could not build Metalink URL for version ") + version));
        QVERIFY(scene->log().isEmpty());
    }

    void aVersionWithoutADocumentIsAFailure_data() {
        QTest::addColumn<QString>("version");
        QTest::newRow("empty") << QStringLiteral("");
        QTest::newRow("slash") << QStringLiteral("26/2");
        QTest::newRow("up") << QStringLiteral("..");
        QTest::newRow("up and up") << QStringLiteral("../../../../../../tmp/owned");
        QTest::newRow("single quote") << QStringLiteral("26'2'; touch owned; '");
        QTest::newRow("10,000 characters") << QString(10'000, QLatin1Char('9'));
        QTest::newRow("a million characters") << QString(1'000'000, QLatin1Char('9'));
        QTest::newRow("query") << QStringLiteral("26?x=2");
        QTest::newRow("fragment") << QStringLiteral("26#2");
        QTest::newRow("another host") << QStringLiteral("@127.0.0.2/");
    }
    void aVersionWithoutADocumentIsAFailure() {
        QFETCH(QString, version);
        if (version.contains(QLatin1Char(' '))) {
            // The blanks alone would make it no URL; what is meant here is the quote.
            version.remove(QLatin1Char(' '));
        }
        failsWith(noDocument, version);
    }

    void whateverTheVersionNoPathAndNoArgumentIsMadeOfIt_data() {
        QTest::addColumn<QString>("version");
        QTest::newRow("empty") << QStringLiteral("");
        QTest::newRow("up") << QStringLiteral("..");
        QTest::newRow("up and up") << QStringLiteral("../../../../../../tmp/owned");
        QTest::newRow("slash") << QStringLiteral("26/2");
        QTest::newRow("single quote") << QStringLiteral("26';touch%20owned;'");
        QTest::newRow("dollar") << QStringLiteral("$(id)");
        QTest::newRow("10,000 characters") << QString(10'000, QLatin1Char('9'));
    }
    void whateverTheVersionNoPathAndNoArgumentIsMadeOfIt() {
        QFETCH(QString, version);
        // The server answers every path with this document.
        const QByteArray any =
            InstallationScene::metalink({scene->goodMirror()}, InstallationScene::sha256(scene->image));
        const QUrl url(InstallJob::metalinkURL(scene->server.base(), version), QUrl::StrictMode);
        // A request goes out with its dots resolved.
        for (const QUrl &asked : {url, url.adjusted(QUrl::NormalizePathSegments)})
            scene->server.on(asked.path(QUrl::FullyEncoded), TestHttpsServer::replies(200, any));
        const auto before = treeSnapshot(scene->folder);
        fs::path source;
        fs::path destination;
        scene->prompt->answer = [&](const fs::path &from, const fs::path &to) {
            source = from;
            destination = to;
            return true;
        };
        QCOMPARE(scene->install(version), InstallOutcome::installed(version));
        // The only variable part is the name of the staging folder, which does not depend on the version.
        const fs::path staging = source.parent_path().parent_path();
        const QRegularExpression name(QStringLiteral("^ferrolt-libreoffice-[0-9A-F-]{36}$"));
        QVERIFY(name.match(QString::fromStdString(staging.filename().string())).hasMatch());
        QCOMPARE(staging.parent_path(), scene->temporary);
        QCOMPARE(source, staging / "mnt/LibreOffice.app");
        QCOMPARE(destination, scene->application);
        const std::string mountPoint = (staging / "mnt").string();
        const std::vector<SubstituteTools::Call> expected{
            {"/usr/bin/hdiutil", "attach", (staging / "LibreOffice.dmg").string(), "-mountpoint", mountPoint,
             "-nobrowse", "-readonly", "-quiet"},
            {"/usr/bin/hdiutil", "detach", mountPoint, "-force"}};
        QVERIFY(scene->tools->calls() == expected);
        QCOMPARE(scene->recorded(), std::optional(version));
        auto after = treeSnapshot(scene->folder);
        after.erase("settings.ini");
        auto rest = before;
        rest.erase("settings.ini");
        QCOMPARE(treeDifference(after, rest), QByteArray());
    }
};

TEST_CLASS(InstallerMetalinkTest, QCoreApplication)
#include "InstallerMetalinkTest.moc"

#include "Background.h"
#include "HttpSession.h"
#include "ProcessSetup.h"
#include "TestHttpsServer.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <optional>
#include <vector>

#include <sys/resource.h>

using namespace ferrolt;
using Error = HttpReply::Error;

class HttpDownloadTest : public QObject {
    Q_OBJECT

    TestAuthority authority;
    TestHttpsServer server{authority.issue()};
    std::unique_ptr<QTemporaryDir> folder;

    QString destination() const { return folder->filePath(QStringLiteral("image.dmg")); }
    QByteArray stored() const {
        QFile file(destination());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void store(const QByteArray &bytes) const {
        QFile file(destination());
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    QStringList left() const {
        return QDir(folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    std::optional<std::int64_t> maxFileSize;  // without a value: the default

    HttpReply download(const QString &path, HttpSession::Progress progress = {}) const {
        HttpConfiguration configuration;
        configuration.maxFileSize = maxFileSize.value_or(configuration.maxFileSize);
        configuration.extraAuthorities = authority.certificate();
        return inBackground([&] {
            return HttpSession(configuration)
                .downloadFile(server.url(path), destination().toStdString(), progress);
        });
    }

  private Q_SLOTS:
    void init() { folder = std::make_unique<QTemporaryDir>(); }
    void cleanup() {
        folder.reset();
        maxFileSize.reset();
    }

    void theBytesOfA200ComeToStandAtTheDestination() {
        server.on(QStringLiteral("/image"), TestHttpsServer::repliesPattern(5'000'000));
        const HttpReply reply = download(QStringLiteral("/image"));
        QCOMPARE(reply.error, Error::None);
        QCOMPARE(reply.statusCode, 200);
        QVERIFY(reply.body.isEmpty());
        QCOMPARE(stored().size(), 5'000'000);
        QVERIFY(stored().startsWith(testPattern()));
        QCOMPARE(left(), QStringList{QStringLiteral("image.dmg")});
    }

    void anEmptyBodyIsAnEmptyFile() {
        server.on(QStringLiteral("/empty"), TestHttpsServer::replies(200));
        QCOMPARE(download(QStringLiteral("/empty")).error, Error::None);
        QVERIFY(QFile::exists(destination()));
        QVERIFY(stored().isEmpty());
    }

    void aRedirectedDownloadHoldsOnlyTheLastBody() {
        server.on(QStringLiteral("/moved"),
                  TestHttpsServer::redirectsTo(server.url(QStringLiteral("/real"))));
        server.on(QStringLiteral("/real"), TestHttpsServer::replies(200, "the image"));
        QCOMPARE(download(QStringLiteral("/moved")).error, Error::None);
        QCOMPARE(stored(), QByteArray("the image"));
    }

    void noCompressionIsAskedForAndNoneIsUndone() {
        const QByteArray compressed = gzipped(testPattern());
        server.on(QStringLiteral("/gzip"), TestHttpsServer::repliesCompressed(200, testPattern()));
        QCOMPARE(download(QStringLiteral("/gzip")).error, Error::None);
        QCOMPARE(server.requests().last().headers["accept-encoding"], QByteArray("identity"));
        QVERIFY(stored() == compressed);
    }

    void whateverWasAtTheDestinationIsReplaced_data() {
        QTest::addColumn<QString>("what");
        for (const char *what : {"file", "folder", "link", "dangling link"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }
    void whateverWasAtTheDestinationIsReplaced() {
        QFETCH(QString, what);
        QFile target(folder->filePath(QStringLiteral("target")));
        QVERIFY(target.open(QIODevice::WriteOnly) && target.write("untouched") == 9);
        target.close();
        if (what == QLatin1String("file"))
            store("old and longer than the new one");
        else if (what == QLatin1String("folder"))
            QVERIFY(QDir().mkpath(destination() + QStringLiteral("/full/of")));
        else if (what == QLatin1String("link"))
            QVERIFY(QFile::link(target.fileName(), destination()));
        else
            QVERIFY(QFile::link(QStringLiteral("/nowhere/at/all"), destination()));
        server.on(QStringLiteral("/new"), TestHttpsServer::replies(200, "new"));
        QCOMPARE(download(QStringLiteral("/new")).error, Error::None);
        QCOMPARE(stored(), QByteArray("new"));
        QVERIFY(!QFileInfo(destination()).isSymLink());
        QVERIFY(target.open(QIODevice::ReadOnly));
        QCOMPARE(target.readAll(), QByteArray("untouched"));
    }

    void anyOtherOutcomeLeavesTheDestinationAsItWas_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<Error>("error");
        QTest::addColumn<int>("status");
        const QByteArray body(300000, 'x');
        const auto row = [this](const char *path, const TestHttpsServer::Handler &handler, Error error,
                                int status) {
            server.on(QString::fromLatin1(path), handler);
            QTest::newRow(path) << QString::fromLatin1(path) << error << status;
        };
        row("/404", TestHttpsServer::replies(404, body), Error::None, 404);
        row("/500", TestHttpsServer::replies(500, body), Error::None, 500);
        row("/206", TestHttpsServer::replies(206, body), Error::None, 206);
        row("/204", TestHttpsServer::replies(204), Error::None, 204);
        row("/302", TestHttpsServer::replies(302, body), Error::None, 302);
        row("/401", TestHttpsServer::replies(401, body, {{"WWW-Authenticate", "Basic realm=x"}}), Error::None,
            401);
        row("/cut", TestHttpsServer::cutsAfter(200000, body), Error::Transport, 200);
        row("/reset", TestHttpsServer::resetsAfter(200000, body), Error::Transport, 200);
    }
    void anyOtherOutcomeLeavesTheDestinationAsItWas() {
        QFETCH(QString, path);
        QFETCH(Error, error);
        QFETCH(int, status);
        store("old");
        const HttpReply reply = download(path);
        QCOMPARE(reply.error, error);
        QCOMPARE(reply.statusCode, status);
        QCOMPARE(stored(), QByteArray("old"));
        QCOMPARE(left(), QStringList{QStringLiteral("image.dmg")});
    }

    void anEndless404IsNotReadToItsEnd() {
        server.on(QStringLiteral("/endless"), [](TestExchange &exchange) {
            exchange.head(404, {{"Transfer-Encoding", "chunked"}});
            while (exchange.send("10\r\n0123456789abcdef\r\n")) {
            }
        });
        const HttpReply reply = download(QStringLiteral("/endless"));
        QCOMPARE(reply.statusCode, 404);
        QVERIFY(left().isEmpty());
    }

    void aFileOfExactlyTheLargestSizeIsTakenAndOneMoreByteIsNot_data() {
        QTest::addColumn<QString>("path");
        const QByteArray body(1'000'000, 'x');
        server.on(QStringLiteral("/announced"), TestHttpsServer::replies(200, body));
        server.on(QStringLiteral("/chunked"), TestHttpsServer::repliesChunked(200, body, 10'000));
        for (const char *path : {"/announced", "/chunked"})
            QTest::newRow(path) << QString::fromLatin1(path);
    }
    void aFileOfExactlyTheLargestSizeIsTakenAndOneMoreByteIsNot() {
        QFETCH(QString, path);
        maxFileSize = 1'000'000;
        QCOMPARE(download(path).error, Error::None);
        QCOMPARE(stored().size(), 1'000'000);
        store("old");
        maxFileSize = 999'999;
        QCOMPARE(download(path).error, Error::TooLarge);
        QCOMPARE(stored(), QByteArray("old"));
        QCOMPARE(left(), QStringList{QStringLiteral("image.dmg")});
    }

    void anEndlessDownloadEndsAtTheBound() {
        server.on(QStringLiteral("/endless"), [](TestExchange &exchange) {
            exchange.head(200, {{"Transfer-Encoding", "chunked"}});
            const QByteArray chunk = "100000\r\n" + testPattern() + "\r\n";
            while (exchange.send(chunk)) {
            }
        });
        maxFileSize = 5'000'000;
        QCOMPARE(download(QStringLiteral("/endless")).error, Error::TooLarge);
        QVERIFY(left().isEmpty());
    }

    void whatTheDiskHasNotTakenYetStaysWithTheServer_data() {
        QTest::addColumn<QString>("path");
        QTest::newRow("directly") << QStringLiteral("/fast");
        QTest::newRow("redirected") << QStringLiteral("/moved");
    }
    void whatTheDiskHasNotTakenYetStaysWithTheServer() {
        QFETCH(QString, path);
        constexpr std::int64_t muchMoreThanBuffersHold = 64 * 1024 * 1024;
        std::atomic<std::int64_t> sent = 0;
        std::atomic<bool> isOver = false;
        server.on(QStringLiteral("/fast"), [&](TestExchange &exchange) {
            exchange.head(200, {{"Content-Length", "1000000000"}});
            const QByteArray piece = testPattern();
            while (!isOver && exchange.send(piece))
                sent += piece.size();
            exchange.close();
        });
        server.on(QStringLiteral("/moved"),
                  TestHttpsServer::redirectsTo(server.url(QStringLiteral("/fast"))));
        bool wasTakenIn = true;
        download(path, [&](std::int64_t, std::int64_t) {
            if (isOver)
                return;
            // During this call nothing is stored, as on a slow disk.
            wasTakenIn =
                waitWithoutEvents([&] { return sent > muchMoreThanBuffersHold; }, std::chrono::seconds(2));
            isOver = true;
        });
        QVERIFY(!wasTakenIn);
        QVERIFY(sent > 0);
    }

    void moreThanTwoGibibytesAreNotEvenBegun() {
        server.on(QStringLiteral("/huge"), TestHttpsServer::repliesPattern((std::int64_t{2} << 30) + 1));
        QCOMPARE(download(QStringLiteral("/huge")).error, Error::TooLarge);
        QVERIFY(left().isEmpty());
    }

    void aFolderThatIsMissingOrNotOneIsAFileError() {
        server.on(QStringLiteral("/image"), TestHttpsServer::replies(200, "image"));
        HttpConfiguration configuration;
        configuration.extraAuthorities = authority.certificate();
        store("a file, not a folder");
        for (const QString &path : QStringList{folder->filePath(QStringLiteral("missing/image")),
                                               destination() + QStringLiteral("/image")}) {
            const HttpReply reply = inBackground([&] {
                return HttpSession(configuration)
                    .downloadFile(server.url(QStringLiteral("/image")), path.toStdString());
            });
            QCOMPARE(reply.error, Error::File);
        }
        QCOMPARE(stored(), QByteArray("a file, not a folder"));
    }

    void aDiskThatFillsUpIsAFileErrorAndLeavesNothing_data() {
        QTest::addColumn<int>("room");
        QTest::addColumn<int>("size");
        QTest::newRow("while the file arrives") << 1'000'000 << 5'000'000;
        QTest::newRow("when its last bytes are written") << 50 << 100;  // Qt buffers up to 16 KiB
    }
    void aDiskThatFillsUpIsAFileErrorAndLeavesNothing() {
        QFETCH(int, room);
        QFETCH(int, size);
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        setUpProcess();
        const rlimit small{static_cast<rlim_t>(room), before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        server.on(QStringLiteral("/image"),
                  TestHttpsServer::replies(200, testPattern().repeated(5).left(size)));
        const HttpReply reply = download(QStringLiteral("/image"));
        setrlimit(RLIMIT_FSIZE, &before);
        QCOMPARE(reply.error, Error::File);
        QVERIFY(left().isEmpty());
    }

    void progressGrowsToTheWholeLength() {
        server.on(QStringLiteral("/image"), TestHttpsServer::repliesPattern(50'000'000));
        std::vector<std::pair<std::int64_t, std::int64_t>>
            told;  // the call's return orders it after the progress
        QElapsedTimer time;
        time.start();
        const HttpReply reply =
            download(QStringLiteral("/image"),
                     [&](std::int64_t received, std::int64_t total) { told.emplace_back(received, total); });
        QCOMPARE(reply.error, Error::None);
        QVERIFY(!told.empty());
        QVERIFY(std::ranges::is_sorted(told));
        QCOMPARE(told.back().first, std::int64_t(50'000'000));
        for (const auto &[received, total] : told)
            QCOMPARE(total, std::int64_t(50'000'000));
        QVERIFY(static_cast<qint64>(told.size()) <= time.elapsed() / 100 + 3);
    }

    void progressOfAnUnannouncedLengthSaysSo() {
        server.on(QStringLiteral("/chunked"), TestHttpsServer::repliesChunked(200, testPattern(), 10000));
        std::vector<std::pair<std::int64_t, std::int64_t>> told;
        download(QStringLiteral("/chunked"),
                 [&](std::int64_t received, std::int64_t total) { told.emplace_back(received, total); });
        QVERIFY(!told.empty());
        QCOMPARE(told.back(), std::make_pair(std::int64_t(1024 * 1024), std::int64_t(-1)));
    }
};

TEST_CLASS(HttpDownloadTest, QCoreApplication)
#include "HttpDownloadTest.moc"

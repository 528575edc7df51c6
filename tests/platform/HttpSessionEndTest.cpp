#include "Background.h"
#include "HttpSession.h"
#include "TestHttpsServer.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <optional>
#include <thread>

using namespace ferrolt;
using namespace std::chrono_literals;
using Error = HttpReply::Error;

namespace {

HttpConfiguration trusting(const TestAuthority &authority) {
    HttpConfiguration configuration;
    configuration.extraAuthorities = authority.certificate();
    return configuration;
}

/// What happened to a blocking call when the application object went away under it.
struct ProgramEnd {
    Error error = Error::None;
    qint64 milliseconds = -1;
    Error errorAfterwards = Error::None;
};

ProgramEnd endTheProgramDuringACall(int &argc, char **argv) {
    TestAuthority authority;
    TestHttpsServer server(authority.issue());
    server.on(QStringLiteral("/never"), TestHttpsServer::neverAnswers());
    HttpSession session(trusting(authority));
    ProgramEnd end;
    std::thread caller;
    QElapsedTimer time;
    {
        QCoreApplication application(argc, argv);
        caller =
            std::thread([&] { end.error = session.fetchData(server.url(QStringLiteral("/never"))).error; });
        while (server.requestCount(QStringLiteral("/never")) == 0)
            std::this_thread::sleep_for(1ms);
        time.start();
    }
    caller.join();
    end.milliseconds = time.elapsed();
    end.errorAfterwards = session.fetchData(server.url(QStringLiteral("/never"))).error;
    return end;
}

ProgramEnd programEnd;

int countEntries(const char *folder) {
    return static_cast<int>(
        QDir(QString::fromLatin1(folder)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size());
}

}  // namespace

class HttpSessionEndTest : public QObject {
    Q_OBJECT

    TestAuthority authority;
    TestHttpsServer server{authority.issue()};

  private Q_SLOTS:
    void initTestCase() { server.on(QStringLiteral("/never"), TestHttpsServer::neverAnswers()); }

    void theEndOfTheProgramEndsABlockingCall() {
        QCOMPARE(programEnd.error, Error::Cancelled);
        QVERIFY(programEnd.milliseconds >= 0);
        QVERIFY(programEnd.milliseconds < 2000);
        QCOMPARE(programEnd.errorAfterwards, Error::Cancelled);
    }

    void destroyingASessionEndsABlockingCallOfAnotherThread() {
        auto session = std::make_unique<HttpSession>(trusting(authority));
        const auto before = server.requestCount(QStringLiteral("/never"));
        std::optional<HttpReply> reply;
        QTemporaryDir folder;
        std::thread caller([&, own = session.get()] {
            reply = own->downloadFile(server.url(QStringLiteral("/never")),
                                      folder.filePath(QStringLiteral("image")).toStdString());
        });
        QVERIFY(waitUntil([&] { return server.requestCount(QStringLiteral("/never")) > before; }));
        QElapsedTimer time;
        time.start();
        session.reset();
        caller.join();
        QVERIFY(time.elapsed() < 2000);
        QCOMPARE(reply->error, Error::Cancelled);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void aCancelledDownloadLeavesNothing() {
        QTemporaryDir folder;
        server.on(QStringLiteral("/half"), TestHttpsServer::stallsAfter(500'000, QByteArray(1'000'000, 'x')));
        HttpSession session(trusting(authority));
        const HttpReply reply = inBackground([&] {
            return session.downloadFile(server.url(QStringLiteral("/half")),
                                        folder.filePath(QStringLiteral("image")).toStdString(),
                                        [&](std::int64_t, std::int64_t) { session.cancel(); });
        });
        QCOMPARE(reply.error, Error::Cancelled);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void aCancelledSessionTakesNoMoreRequests() {
        HttpSession session(trusting(authority));
        session.cancel();
        QCOMPARE(inBackground([&] { return session.fetchData(server.url(QStringLiteral("/x"))); }).error,
                 Error::Cancelled);
        std::atomic<int> calls = 0;
        std::atomic<Error> error = Error::None;
        session.fetch(server.url(QStringLiteral("/x")), [&](const HttpReply &reply) {
            error = reply.error;
            ++calls;
        });
        QVERIFY(waitUntil([&] { return calls == 1; }));
        QCOMPARE(error.load(), Error::Cancelled);
        QCOMPARE(server.requestCount(QStringLiteral("/x")), 0);
    }

    void everyCompletionComesOnceHoweverEarlyTheEnd() {
        server.on(QStringLiteral("/quick"), TestHttpsServer::replies(200, "quick"));
        std::atomic<int> calls = 0;
        constexpr int rounds = 40;
        for (int round = 0; round < rounds; ++round) {
            HttpSession session(trusting(authority));
            for (const char *path : {"/quick", "/never"})
                session.fetch(server.url(QString::fromLatin1(path)), [&](const HttpReply &) { ++calls; });
            // From before the thread has begun up to a reply's arrival.
            std::this_thread::sleep_for(std::chrono::microseconds(round * round * 20));
        }
        QVERIFY(waitUntil([&] { return calls == 2 * rounds; }));
        QTest::qWait(50);
        QCOMPARE(calls, 2 * rounds);
    }

    void aSessionMayBeDestroyedByItsOwnCompletion() {
        server.on(QStringLiteral("/quick"), TestHttpsServer::replies(200, "quick"));
        auto session = std::make_shared<HttpSession>(trusting(authority));
        std::weak_ptr<HttpSession> gone = session;
        HttpSession &own = *session;
        auto holder = std::make_shared<std::shared_ptr<HttpSession>>(std::move(session));
        std::atomic<bool> over = false;
        own.fetch(server.url(QStringLiteral("/quick")), [holder, &over](const HttpReply &) {
            holder->reset();
            over = true;
        });
        holder.reset();
        QVERIFY(waitUntil([&] { return over.load(); }));
        QVERIFY(gone.expired());
    }

    void neitherThreadsNorDescriptorsAreLeftBehind() {
        server.on(QStringLiteral("/quick"), TestHttpsServer::replies(200, "quick"));
        server.on(QStringLiteral("/cut"), TestHttpsServer::cutsAfter(1, "body"));
        QTemporaryDir folder;
        const auto round = [&] {
            HttpSession session(trusting(authority));
            session.fetch(server.url(QStringLiteral("/never")), [](const HttpReply &) {});
            inBackground([&] { return session.fetchData(server.url(QStringLiteral("/quick"))); });
            inBackground([&] { return session.fetchData(server.url(QStringLiteral("/cut"))); });
            inBackground([&] {
                return session.downloadFile(server.url(QStringLiteral("/quick")),
                                            folder.filePath(QStringLiteral("x")).toStdString());
            });
        };
        // The first sessions start what Qt and the proxy library keep for the whole run.
        for (int i = 0; i < 3; ++i)
            round();
        const auto settled = [&] { return server.openConnectionCount() == 0; };
        QVERIFY(waitUntil(settled));
        const int threads = countEntries("/proc/self/task");
        const int descriptors = countEntries("/proc/self/fd");
        for (int i = 0; i < 20; ++i)
            round();
        QVERIFY(waitUntil(settled));
        QVERIFY(waitUntil([&] { return countEntries("/proc/self/task") <= threads; }));
        QVERIFY(waitUntil([&] { return countEntries("/proc/self/fd") <= descriptors; }));
    }
};

int main(int argc, char **argv) {
    programEnd = endTheProgramDuringACall(argc, argv);
    QCoreApplication application(argc, argv);
    HttpSessionEndTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "HttpSessionEndTest.moc"

#include "Background.h"
#include "HttpSession.h"
#include "TestHttpsServer.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>

#include <dlfcn.h>
#include <netdb.h>

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

/// Lets the program end once `isUnderWay`.
template <class Condition>
ProgramEnd endTheProgramDuring(const QUrl &url, const TestAuthority &authority, Condition isUnderWay,
                               int &argc, char **argv) {
    HttpSession session(trusting(authority));
    ProgramEnd end;
    std::thread caller;
    QElapsedTimer time;
    {
        QCoreApplication application(argc, argv);
        caller = std::thread([&] { end.error = session.fetchData(url).error; });
        if (!waitWithoutEvents(isUnderWay))
            std::abort();
        time.start();
    }
    end.milliseconds = time.elapsed();
    caller.join();
    end.errorAfterwards = session.fetchData(url).error;
    return end;
}

ProgramEnd endDuringARequest(int &argc, char **argv) {
    TestAuthority authority;
    TestHttpsServer server(authority.issue());
    const QString never = QStringLiteral("/never");
    server.on(never, TestHttpsServer::neverAnswers());
    return endTheProgramDuring(
        server.url(never), authority, [&] { return server.requestCount(never) > 0; }, argc, argv);
}

/// Nobody answers when the name below is asked for, until it is released.
const char *const stalledName = "stalled.test";
std::mutex stallMutex;
std::condition_variable stallChanged;
int stalledLookups = 0;
bool stallReleased = false;

ProgramEnd endDuringALookup(int &argc, char **argv) {
    const auto isStalled = [] {
        std::lock_guard lock(stallMutex);
        return stalledLookups > 0;
    };
    const ProgramEnd end = endTheProgramDuring(QUrl(QStringLiteral("https://stalled.test/")), TestAuthority(),
                                               isStalled, argc, argv);
    std::lock_guard lock(stallMutex);
    stallReleased = true;
    stallChanged.notify_all();
    return end;
}

ProgramEnd endInARequest;
ProgramEnd endInALookup;

int countEntries(const char *folder) {
    return static_cast<int>(
        QDir(QString::fromLatin1(folder)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size());
}

}  // namespace

/// Stands before the system's own, for Qt as for us: a name server that does not answer.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char *name, const char *service,
                                                                  const addrinfo *hints, addrinfo **found) {
    if (name != nullptr && std::strcmp(name, stalledName) == 0) {
        std::unique_lock lock(stallMutex);
        ++stalledLookups;
        stallChanged.wait_for(lock, 20s, [] { return stallReleased; });
        return EAI_AGAIN;
    }
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(name, service, hints, found);
}

class HttpSessionEndTest : public QObject {
    Q_OBJECT

    TestAuthority authority;
    TestHttpsServer server{authority.issue()};

  private Q_SLOTS:
    void initTestCase() { server.on(QStringLiteral("/never"), TestHttpsServer::neverAnswers()); }

    void theEndOfTheProgramEndsABlockingCall() {
        QCOMPARE(endInARequest.error, Error::Cancelled);
        QVERIFY(endInARequest.milliseconds >= 0 && endInARequest.milliseconds < 2000);
        QCOMPARE(endInARequest.errorAfterwards, Error::Cancelled);
    }

    void aNameServerThatDoesNotAnswerDoesNotHoldUpTheEndOfTheProgram() {
        QCOMPARE(endInALookup.error, Error::Cancelled);
        QVERIFY(endInALookup.milliseconds >= 0 && endInALookup.milliseconds < 2000);
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
    endInARequest = endDuringARequest(argc, argv);
    endInALookup = endDuringALookup(argc, argv);
    QCoreApplication application(argc, argv);
    HttpSessionEndTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "HttpSessionEndTest.moc"

#include "Background.h"
#include "EndProcess.h"
#include "HttpSession.h"
#include "InChild.h"
#include "NameLookup.h"
#include "TestHttpsServer.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <thread>

#include <unistd.h>

using namespace ferrolt;
using namespace std::chrono_literals;
using Error = HttpReply::Error;

namespace {

HttpConfiguration trusting(const TestAuthority &authority) {
    HttpConfiguration configuration;
    configuration.extraAuthorities = authority.certificate();
    return configuration;
}

/// Runs an application's event loop until `isTime`.
template <class Condition>
void runUntil(Condition isTime, int &argc, char **argv) {
    QCoreApplication application(argc, argv);
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (isTime())
            QCoreApplication::quit();
    });
    look.start(1ms);
    QCoreApplication::exec();
}

/// What a thread does with its session after its call was cancelled.
constexpr auto lastWork = 300ms;

/// The results of another thread's calls when the application leaves its event loop.
struct ProgramEnd {
    HttpReply during;
    HttpReply next;
    bool isFolderEmpty = false;
    qint64 waited = 0;  // how long the application waited for the session, in milliseconds
    HttpReply afterwards;
};

ProgramEnd endDuringADownload(int &argc, char **argv) {
    TestAuthority authority;
    TestHttpsServer server(authority.issue());
    server.on(QStringLiteral("/half"), TestHttpsServer::stallsAfter(500'000, QByteArray(1'000'000, 'x')));
    const QTemporaryDir folder;
    ProgramEnd end;
    std::atomic<bool> isUnderWay = false;
    std::thread caller;
    QElapsedTimer sinceQuit;
    runUntil(
        [&] {
            if (!caller.joinable())
                caller = std::thread([&] {
                    {
                        HttpSession session(trusting(authority));
                        const auto destination = folder.filePath(QStringLiteral("image")).toStdString();
                        end.during =
                            session.downloadFile(server.url(QStringLiteral("/half")), destination,
                                                 [&](std::int64_t, std::int64_t) { isUnderWay = true; });
                        end.next = session.fetchData(server.url(QStringLiteral("/half")));
                        std::this_thread::sleep_for(lastWork);
                    }
                    end.afterwards =
                        HttpSession(trusting(authority)).fetchData(server.url(QStringLiteral("/half")));
                });
            sinceQuit.start();
            return isUnderWay.load();
        },
        argc, argv);
    end.waited = sinceQuit.elapsed();
    caller.join();
    end.isFolderEmpty = QDir(folder.path()).isEmpty();
    return end;
}

ProgramEnd endInADownload;
qint64 endWithAnIdleSession = 0;

/// The duration of the application's end while a session's thread is busy with something else.
qint64 endWhileASessionIsIdle(int &argc, char **argv) {
    std::atomic<bool> isOpen = false;
    std::atomic<bool> mayGo = false;
    std::thread owner;
    QElapsedTimer time;
    runUntil(
        [&] {
            if (!owner.joinable())
                owner = std::thread([&] {
                    const HttpSession session;
                    isOpen = true;
                    waitWithoutEvents([&] { return mayGo.load(); });
                });
            time.start();
            return isOpen.load();
        },
        argc, argv);
    const qint64 taken = time.elapsed();
    mayGo = true;
    owner.join();
    return taken;
}

/// Ends the program as main() does while a host name lookup hangs. Does not return.
int endDuringALookup() {
    NameLookup::instance().hanging = "stalled.test";
    int argc = 1;
    char name[] = "launcher";
    char *argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    std::thread([] { HttpSession().fetchData(QUrl(QStringLiteral("https://stalled.test/"))); }).detach();
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        std::lock_guard lock(NameLookup::instance().mutex);
        if (NameLookup::instance().hangs > 0)
            QCoreApplication::exit(42);
    });
    look.start(1ms);
    const int code = QCoreApplication::exec();
    endProcessSoon(code);
    return code;
}

int codeOfAnEndInALookup = 0;
std::chrono::steady_clock::duration timeOfAnEndInALookup{};

int countEntries(const char *folder) {
    return static_cast<int>(
        QDir(QString::fromLatin1(folder)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size());
}

}  // namespace

/// Most cases run in main(), which can destroy an application object.
class HttpSessionEndTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theEndOfTheProgramEndsACallAndLeavesNothing() {
        QCOMPARE(endInADownload.during.error, Error::Cancelled);
        QVERIFY(endInADownload.isFolderEmpty);
    }

    void noCallBeginsAfterIt() {
        QCOMPARE(endInADownload.next.error, Error::Cancelled);
        QCOMPARE(endInADownload.afterwards.error, Error::Cancelled);
    }

    void theApplicationObjectWaitsForItsSessions() { QVERIFY(endInADownload.waited >= lastWork.count()); }

    void butNotWithoutLimit() {
        QVERIFY(endWithAnIdleSession >= HttpSession::maxWaitAtEnd.count());
        QVERIFY(endWithAnIdleSession < 10 * HttpSession::maxWaitAtEnd.count());
    }

    void aNameServerThatDoesNotAnswerDoesNotHoldUpTheEndOfTheProgram() {
        QCOMPARE(codeOfAnEndInALookup, 42);
        QVERIFY(timeOfAnEndInALookup < 30s);  // a child is killed after a minute
    }

    void neitherThreadsNorDescriptorsAreLeftBehind() {
        const TestAuthority authority;
        TestHttpsServer server(authority.issue());
        server.on(QStringLiteral("/quick"), TestHttpsServer::replies(200, "quick"));
        server.on(QStringLiteral("/cut"), TestHttpsServer::cutsAfter(1, "body"));
        const QTemporaryDir folder;
        const auto round = [&] {
            inBackground([&] {
                HttpSession session(trusting(authority));
                session.fetchData(server.url(QStringLiteral("/quick")));
                session.fetchData(server.url(QStringLiteral("/cut")));
                session.downloadFile(server.url(QStringLiteral("/quick")),
                                     folder.filePath(QStringLiteral("x")).toStdString());
                return 0;
            });
        };
        // The first sessions start threads that Qt and the proxy library keep for the whole process.
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

TEST_MAIN(HttpSessionEndTest) {
    const auto started = std::chrono::steady_clock::now();
    codeOfAnEndInALookup = inChild(endDuringALookup);  // before this process has a second thread
    timeOfAnEndInALookup = std::chrono::steady_clock::now() - started;
    endInADownload = endDuringADownload(argc, argv);
    endWithAnIdleSession = endWhileASessionIsIdle(argc, argv);
    QCoreApplication application(argc, argv);
    HttpSessionEndTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "HttpSessionEndTest.moc"

#include "ProcessFacts.h"
#include "TestProgram.h"
#include "Waiting.h"
#include "walk/ChildPrograms.h"
#include "walk/Walk.h"
#include "walk/WalkDownloads.h"

#include <QCoreApplication>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>

#include <sys/statvfs.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

QtMessageHandler handlerBefore = nullptr;
QString again;  ///< how to repeat the current walk
const Walk *walking = nullptr;

/// A failed assertion ends the program: the walk that led to it is told first.
void tellTheWalk(QtMsgType type, const QMessageLogContext &context, const QString &message) {
    if (type == QtFatalMsg && walking != nullptr)
        std::fprintf(stderr, "%s\n%s\n", qUtf8Printable(walking->trace.join(u'\n')), qUtf8Printable(again));
    handlerBefore(type, context, message);
}

quint64 fromEnvironment(const char *name, quint64 fallback) {
    bool isNumber = false;
    const quint64 number = qEnvironmentVariable(name).toULongLong(&isNumber);
    return isNumber ? number : fallback;
}

}  // namespace

/// Random walks over the events of a launcher's life; see Walk. FERROLT_WALKS, FERROLT_WALK_SEED and
/// FERROLT_WALK_EVENTS set their number, the first one's seed and their length.
class AppVarsWalkTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() {
        handlerBefore = qInstallMessageHandler(tellTheWalk);
        // A busy disk takes most of the time: every save waits for it. Programs must run from there.
        struct statvfs memory {};
        if (!qEnvironmentVariableIsSet("TMPDIR") && access("/dev/shm", W_OK) == 0 &&
            statvfs("/dev/shm", &memory) == 0 && (memory.f_flag & ST_NOEXEC) == 0)
            qputenv("TMPDIR", "/dev/shm");
    }
    void cleanupTestCase() { qInstallMessageHandler(handlerBefore); }

    void noWalkBreaksARule() {
        const auto clock = std::chrono::system_clock::now().time_since_epoch();
        const quint64 first =
            fromEnvironment("FERROLT_WALK_SEED", static_cast<quint64>(clock / std::chrono::milliseconds(1)));
        const quint64 count = fromEnvironment("FERROLT_WALKS", FERROLT_SANITIZED ? 10 : 50);
        const int events = static_cast<int>(fromEnvironment("FERROLT_WALK_EVENTS", 60));
        qInfo("%llu walks of %d events from seed %llu on", count, events, first);

        WalkDownloads downloads;
        const ChildPrograms programs;
        std::optional<int> descriptors;
        for (quint64 seed = first; seed < first + count; ++seed) {
            again =
                QStringLiteral("again by: FERROLT_WALKS=1 FERROLT_WALK_SEED=%1 FERROLT_WALK_EVENTS=%2 %3 %4")
                    .arg(seed)
                    .arg(events)
                    .arg(QCoreApplication::applicationFilePath(), QStringLiteral("AppVarsWalkTest"));
            {
                Walk walk(seed, downloads, programs);
                walking = &walk;
                const auto complaint = walk.run(events);
                walking = nullptr;
                if (complaint)
                    QFAIL(qPrintable(QStringLiteral("\n%1\n%2 (seed %3, event %4)\n%5")
                                         .arg(walk.trace.join(u'\n'), *complaint)
                                         .arg(seed)
                                         .arg(walk.figures.events)
                                         .arg(again)));
                add(walk.figures);
            }
            // After the first walk: Qt opens some once.
            const auto isAllGone = [&] {
                return threadsNamed("child-") == 0 && threadsNamed("utility") == 0 &&
                       threadsNamed("background") == 0 && downloads.openConnections() == 0 &&
                       openDescriptors() <= descriptors.value_or(openDescriptors());
            };
            const bool isQuiet = waitUntil(isAllGone, std::chrono::minutes(1));
            if (!isQuiet)
                QFAIL(qPrintable(
                    QStringLiteral("a walk leaves threads or descriptors: %1 child, %2 utility, %3 "
                                   "background, %4 connections, %5 of %6 descriptors (seed %7)\n%8")
                        .arg(threadsNamed("child-"))
                        .arg(threadsNamed("utility"))
                        .arg(threadsNamed("background"))
                        .arg(downloads.openConnections())
                        .arg(openDescriptors())
                        .arg(descriptors.value_or(0))
                        .arg(seed)
                        .arg(again)));
            descriptors = std::max(descriptors.value_or(0), openDescriptors());
        }
        std::printf(
            "%llu walks, %d events, %d lives, %d launches, %d ends told, %d restarts, %d checks, %d "
            "installations, %d alerts: no rule was broken.\n",
            count, all.events, all.lives, all.launches, all.ends, all.restarts, all.checks,
            downloads.promptsAnswered.load(), all.alerts);
    }

  private:
    void add(const Walk::Figures &walk) {
        all.events += walk.events;
        all.lives += walk.lives;
        all.launches += walk.launches;
        all.ends += walk.ends;
        all.restarts += walk.restarts;
        all.checks += walk.checks;
        all.alerts += walk.alerts;
    }

    Walk::Figures all;
};

TEST_CLASS(AppVarsWalkTest, QCoreApplication)
#include "AppVarsWalkTest.moc"

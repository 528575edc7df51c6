#include "ProcessFacts.h"
#include "TestProgram.h"
#include "VirtualDesktop.h"
#include "Waiting.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>
#include <QTextStream>

#include <vector>

#include <unistd.h>

using namespace ferrolt;

namespace {

/// A process that opens a desktop, prints "open" and runs on.
int stayOnADesktop() {
    const VirtualDesktop desktop;
    QTextStream(stdout) << (desktop.failure().isEmpty() ? QStringLiteral("open") : desktop.failure())
                        << Qt::endl;
    for (;;)
        ::pause();
}

std::vector<pid_t> childrenOf(qint64 process) {
    std::vector<pid_t> children;
    for (const QString &entry : QDir("/proc").entryList(QDir::Dirs)) {
        const auto stat = processStat(static_cast<pid_t>(entry.toInt()));
        if (stat && stat->parent == process)
            children.push_back(static_cast<pid_t>(entry.toInt()));
    }
    return children;
}

}  // namespace

class VirtualDesktopTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void itEndsWithItsProcessInWhateverWayThatEnds() {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), {"VirtualDesktopTest", "--stay"});
        QVERIFY(waitUntil([&] { return process.canReadLine(); }, std::chrono::seconds(60)));
        QCOMPARE(process.readLine().trimmed(), QByteArray("open"));
        const std::vector<pid_t> services = childrenOf(process.processId());
        QCOMPARE(services.size(), std::size_t{3});  // bus, display, window manager
        process.kill();
        QVERIFY(process.waitForFinished());
        for (const pid_t service : services)
            QVERIFY(waitUntil([&] { return !isAlive(service); }));
    }
};

TEST_MAIN(VirtualDesktopTest) {
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == QStringLiteral("--stay"))
        return stayOnADesktop();
    VirtualDesktopTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "VirtualDesktopTest.moc"

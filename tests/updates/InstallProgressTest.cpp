#include "InstallProgress.h"
#include "TestProgram.h"

#include <QSignalSpy>
#include <QTest>

using namespace ferrolt;
using Phase = InstallProgress::Phase;

class InstallProgressTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theTextSaysHowFarItIs_data() {
        QTest::addColumn<InstallProgress::Status>("status");
        QTest::addColumn<QString>("text");
        const QString version = QStringLiteral("26.2.4");
        using Status = InstallProgress::Status;
        QTest::newRow("idle") << Status{} << QString();
        QTest::newRow("downloading") << Status{Phase::Downloading, version, 143'900'000, 298'100'000}
                                     << QStringLiteral("LibreOffice 26.2.4: 143 of 298 MB");
        QTest::newRow("downloading who knows how much")
            << Status{Phase::Downloading, version, 143'900'000, -1}
            << QStringLiteral("LibreOffice 26.2.4: 143 MB");
        QTest::newRow("downloading nothing")
            << Status{Phase::Downloading, version, 0, 0} << QStringLiteral("LibreOffice 26.2.4: 0 of 0 MB");
        QTest::newRow("verifying") << Status{Phase::Verifying, version, 0, -1}
                                   << QStringLiteral("LibreOffice 26.2.4: verifying");
        QTest::newRow("installing") << Status{Phase::Installing, version, 5, 10}
                                    << QStringLiteral("LibreOffice 26.2.4: installing");
    }
    void theTextSaysHowFarItIs() {
        QFETCH(InstallProgress::Status, status);
        QFETCH(QString, text);
        InstallProgress progress;
        progress.set(status);
        QCOMPARE(progress.text(), text);
        QCOMPARE(progress.isIdle(), text.isEmpty());
    }

    void aChangeIsToldOnceAndNoneIsNot() {
        InstallProgress progress;
        QSignalSpy changes(&progress, &InstallProgress::changed);
        progress.set({});
        QCOMPARE(changes.count(), 0);
        const InstallProgress::Status status{Phase::Downloading, QStringLiteral("1"), 1, 2};
        progress.set(status);
        progress.set(status);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(progress.status(), status);
    }
};

TEST_CLASS(InstallProgressTest, QCoreApplication)
#include "InstallProgressTest.moc"

#include "InstallProgress.h"

#include <QSignalSpy>
#include <QTest>

using namespace ferrolt;
using Phase = InstallProgress::Phase;

class InstallProgressTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theTextSaysHowFarItIs_data() {
        QTest::addColumn<InstallProgress::Facts>("facts");
        QTest::addColumn<QString>("text");
        const QString version = QStringLiteral("26.2.4");
        using Facts = InstallProgress::Facts;
        QTest::newRow("idle") << Facts{} << QString();
        QTest::newRow("downloading") << Facts{Phase::Downloading, version, 143'900'000, 298'100'000}
                                     << QStringLiteral("LibreOffice 26.2.4: 143 of 298 MB");
        QTest::newRow("downloading who knows how much") << Facts{Phase::Downloading, version, 143'900'000, -1}
                                                        << QStringLiteral("LibreOffice 26.2.4: 143 MB");
        QTest::newRow("verifying") << Facts{Phase::Verifying, version, 0, -1}
                                   << QStringLiteral("LibreOffice 26.2.4: verifying");
        QTest::newRow("installing") << Facts{Phase::Installing, version, 5, 10}
                                    << QStringLiteral("LibreOffice 26.2.4: installing");
    }
    void theTextSaysHowFarItIs() {
        QFETCH(InstallProgress::Facts, facts);
        QFETCH(QString, text);
        InstallProgress progress;
        progress.set(facts);
        QCOMPARE(progress.text(), text);
        QCOMPARE(progress.isIdle(), text.isEmpty());
    }

    void aChangeIsToldOnceAndNoneIsNot() {
        InstallProgress progress;
        QSignalSpy changes(&progress, &InstallProgress::changed);
        progress.set({});
        QCOMPARE(changes.count(), 0);
        const InstallProgress::Facts facts{Phase::Downloading, QStringLiteral("1"), 1, 2};
        progress.set(facts);
        progress.set(facts);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(progress.facts(), facts);
    }
};

QTEST_GUILESS_MAIN(InstallProgressTest)
#include "InstallProgressTest.moc"

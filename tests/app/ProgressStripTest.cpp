#include "ContentView.h"
#include "InstallProgress.h"
#include "LauncherStyle.h"
#include "LibreOfficeInstaller.h"
#include "ProgressStrip.h"
#include "Sidebar.h"
#include "TestProgram.h"
#include "Theme.h"
#include "WindowFixture.h"

#include <QAbstractEventDispatcher>
#include <QAccessible>
#include <QScopeGuard>

using namespace ferrolt;
using Phase = InstallProgress::Phase;

class ProgressStripTest : public QObject {
    Q_OBJECT

    static ProgressStrip &stripOf(const MainWindow &window) { return *window.findChild<ProgressStrip *>(); }

    static InstallProgress::Status downloading(std::int64_t done, std::int64_t total,
                                               const QString &version = "26.2.4") {
        return {Phase::Downloading, version, done, total};
    }

    /// The number of pixels in the bar's row that have the accent colour, and the first one.
    static std::pair<int, int> filled(ProgressStrip &strip) {
        const QImage image = strip.grab().toImage();
        const QRgb accent = Theme::accent(strip.palette()).rgb();
        std::pair<int, int> found{0, -1};
        const int y = strip.height() - 7;  // the middle of the bar
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != accent)
                continue;
            if (found.second < 0)
                found.second = x;
            ++found.first;
        }
        return found;
    }

  private Q_SLOTS:
    void itIsThereOnlyWhileTheWorkRuns() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        ProgressStrip &strip = stripOf(window);
        InstallProgress &progress = *fixture.vars->libreOfficeInstaller->progress;
        QVERIFY(!strip.isVisible());

        progress.set(downloading(143'000'000, 298'000'000));
        QTRY_VERIFY(strip.isVisible());
        QVERIFY(named(window, "LibreOffice 26.2.4: 143 of 298 MB") == &strip);
        progress.set({Phase::Verifying, "26.2.4"});
        QVERIFY(named(window, "LibreOffice 26.2.4: verifying") == &strip);
        progress.set({Phase::Installing, "26.2.4"});
        QVERIFY(named(window, "LibreOffice 26.2.4: installing") == &strip);

        progress.set({});
        QVERIFY(!strip.isVisible());
        QVERIFY(fixture.vars->lumoraLog().isEmpty());
        QVERIFY(fixture.vars->qorClientLog().isEmpty());
    }

    void itStandsAtTheFootOfTheSidebarAndMovesNothingAboveIt() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        Sidebar *const sidebar = window.findChild<Sidebar *>();
        QWidget *const row = named(window, "Qor Client, stopped");
        const QRect before = row->geometry();
        fixture.vars->libreOfficeInstaller->progress->set(downloading(1, 2));
        ProgressStrip &strip = stripOf(window);
        QTRY_VERIFY(strip.isVisible() && strip.width() > 100);
        QCOMPARE(row->geometry(), before);
        const int bottom = strip.mapTo(sidebar, QPoint(0, strip.height())).y();
        QVERIFY(bottom <= sidebar->height());
        QVERIFY(bottom > sidebar->height() - 60);
        QVERIFY(strip.height() < 50);
    }

    void theBarIsFilledByTheShareThatIsDone() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        InstallProgress &progress = *fixture.vars->libreOfficeInstaller->progress;
        progress.set(downloading(0, 400));
        ProgressStrip &strip = stripOf(window);
        QTRY_VERIFY(strip.isVisible() && strip.width() > 100);
        QCOMPARE(filled(strip).first, 0);
        const int track = strip.width() - 20;
        progress.set(downloading(100, 400));
        QVERIFY(qAbs(filled(strip).first - track / 4) <= 2);
        progress.set(downloading(300, 400));
        QVERIFY(qAbs(filled(strip).first - track * 3 / 4) <= 2);
        // A server that announced less than it sends.
        progress.set(downloading(9000, 400));
        QVERIFY(qAbs(filled(strip).first - track) <= 2);
    }

    void whatHasNoKnownEndMovesButOnlyWhileItCanBeSeen() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        fixture.vars->libreOfficeInstaller->progress->set({Phase::Verifying, "26.2.4"});
        ProgressStrip &strip = stripOf(window);
        QTRY_VERIFY(strip.isVisible());
        const auto ticks = [&] {
            return !QAbstractEventDispatcher::instance()->registeredTimers(&strip).isEmpty();
        };
        QVERIFY(ticks());
        QTRY_VERIFY(filled(strip).first > 10);
        const int first = filled(strip).second;
        QTRY_VERIFY(filled(strip).second != first);
        window.close();
        QVERIFY(!ticks());
        window.show();
        QVERIFY(ticks());
        fixture.vars->libreOfficeInstaller->progress->set({});
        QVERIFY(!ticks());
    }

    void whereTheUserWantsNoMotionItStandsInTheMiddle() {
        auto *const style = qobject_cast<LauncherStyle *>(QApplication::style());
        const auto restore = qScopeGuard([style] { style->setMotion(LauncherStyle::Motion::Full); });
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        fixture.vars->libreOfficeInstaller->progress->set({Phase::Verifying, "26.2.4"});
        ProgressStrip &strip = stripOf(window);
        QTRY_VERIFY(strip.isVisible());
        const auto ticks = [&] {
            return !QAbstractEventDispatcher::instance()->registeredTimers(&strip).isEmpty();
        };
        QVERIFY(ticks());
        style->setMotion(LauncherStyle::Motion::Reduced);
        QTRY_VERIFY(!ticks());
        const auto [length, first] = filled(strip);
        QVERIFY(length > 10);
        QVERIFY(qAbs(first - (strip.width() - first - length)) <= 2);
        fixture.vars->libreOfficeInstaller->progress->set({Phase::Installing, "26.2.4"});
        QVERIFY(!ticks());
        style->setMotion(LauncherStyle::Motion::Full);
        fixture.vars->libreOfficeInstaller->progress->set({Phase::Verifying, "26.2.4"});
        QVERIFY(ticks());
    }

    void itsWordsAndNumbersKeepTheirOrderFromRightToLeft() {
        const auto restore = qScopeGuard([] { QApplication::setLayoutDirection(Qt::LeftToRight); });
        // The pixels of the second line, without the free columns beside its text.
        const auto words = [](Qt::LayoutDirection direction) {
            QApplication::setLayoutDirection(direction);
            WindowFixture fixture;
            MainWindow &window = fixture.open();
            window.content()->setSidebarWidth(Sidebar::minimumColumnWidth);
            ProgressStrip &strip = stripOf(window);
            fixture.vars->libreOfficeInstaller->progress->set(
                downloading(143'000'000, 298'000'000, "26.2.4.1.20"));
            const int lineHeight = QFontMetrics(Theme::caption()).height();
            if (!QTest::qWaitFor([&] { return strip.isVisible() && strip.height() > 2 * lineHeight + 10; }))
                return QImage();
            const QImage text =
                strip.grab().toImage().copy(10, 5 + lineHeight, strip.width() - 20, lineHeight);
            QRect ink;
            for (int y = 0; y < text.height(); ++y) {
                for (int x = 0; x < text.width(); ++x) {
                    if (text.pixel(x, y) != text.pixel(0, 0))
                        ink |= QRect(x, y, 1, 1);
                }
            }
            return text.copy(ink);
        };
        const QImage toTheRight = words(Qt::LeftToRight);
        QVERIFY(toTheRight.width() > 40);
        QCOMPARE(words(Qt::RightToLeft), toTheRight);
    }

    void aTextThatIsTooLongForTheColumnTakesTwoLinesUntilTheEnd() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        window.content()->setSidebarWidth(Sidebar::minimumColumnWidth);
        InstallProgress &progress = *fixture.vars->libreOfficeInstaller->progress;
        progress.set(downloading(1'000'000, 2'000'000, "1"));
        ProgressStrip &strip = stripOf(window);
        QTRY_VERIFY(strip.isVisible() && strip.width() > 100);
        const int one = strip.sizeHint().height();
        progress.set(downloading(123'000'000'000, 456'000'000'000, "26.2.4.1.20"));
        const int two = strip.sizeHint().height();
        QVERIFY(two > one);
        progress.set({Phase::Verifying, "1"});
        QCOMPARE(strip.sizeHint().height(), two);
        progress.set({});
        progress.set({Phase::Verifying, "1"});
        QCOMPARE(strip.sizeHint().height(), one);
    }

    void aVersionThatIsNoneIsShownAsText_data() {
        QTest::addColumn<QString>("version");
        QTest::newRow("long") << QString(10000, 'x');
        QTest::newRow("lines") << QString("a\nb\nc\n");
        QTest::newRow("markup") << QString("<h1>&amp;&");
        QTest::newRow("empty") << QString();
    }
    void aVersionThatIsNoneIsShownAsText() {
        QFETCH(QString, version);
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        const QSize size = window.size();
        fixture.vars->libreOfficeInstaller->progress->set(downloading(1, 2, version));
        ProgressStrip &strip = stripOf(window);
        QTRY_VERIFY(strip.isVisible() && strip.width() > 100);
        QVERIFY(!strip.grab().isNull());
        QVERIFY(strip.height() < 60);
        QVERIFY(strip.width() <= Sidebar::maximumColumnWidth);
        QCOMPARE(window.size(), size);
    }
};

TEST_MAIN(ProgressStripTest) {
    useLargeScreen();
    QApplication application(argc, argv);
    ProgressStripTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ProgressStripTest.moc"

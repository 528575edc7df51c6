#include "FatalError.h"
#include "HomeLogView.h"
#include "LauncherStyle.h"
#include "LogConsoleView.h"
#include "LogTextArea.h"
#include "TestProgram.h"
#include "Theme.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QSplitter>
#include <QTest>

using namespace ferrolt;

class HomeLogViewTest : public QObject {
    Q_OBJECT

    struct Home : Supervision {
        std::unique_ptr<HomeLogView> view;

        explicit Home(QSize size = {800, 640}) {
            LauncherStyle::install();
            create();
            view = std::make_unique<HomeLogView>(vars, time, std::make_shared<QtClipboard>());
            view->resize(size);
            WindowFixture::show(*view);
        }
        ~Home() { view.reset(); }

        void drag(int by) const {
            QSplitterHandle *divider = view->findChild<QSplitter *>()->handle(1);
            const QPoint grip(200, divider->height() / 2);
            QTest::mousePress(divider, Qt::LeftButton, {}, grip);
            QTest::mouseMove(divider, grip + QPoint(0, by));
            QTest::mouseRelease(divider, Qt::LeftButton, {}, grip + QPoint(0, by));
        }
    };

  private Q_SLOTS:
    void draggingTheDividerNeverMakesALogShorterThanItsLeastHeight() {
        Home home;
        QCOMPARE(home.view->lumoraConsole()->height(), home.view->qorClientConsole()->height());
        home.drag(1000);
        QCOMPARE(home.view->qorClientConsole()->height(), 150);
        QCOMPARE(home.view->lumoraConsole()->height(), 640 - 6 - 150);
        home.drag(-1000);
        QCOMPARE(home.view->lumoraConsole()->height(), 150);
        home.drag(-10);
        QCOMPARE(home.view->lumoraConsole()->height(), 150);
    }

    void theDividerMovesWithTheArrowKeysWithinTheSameBounds() {
        Home home;
        QSplitterHandle *divider = home.view->findChild<QSplitter *>()->handle(1);
        divider->setFocus();
        const int before = home.view->lumoraConsole()->height();
        QTest::keyClick(divider, Qt::Key_Down);
        QCOMPARE(home.view->lumoraConsole()->height(), before + 16);
        for (int i = 0; i < 100; ++i)
            QTest::keyClick(divider, Qt::Key_Up);
        QCOMPARE(home.view->lumoraConsole()->height(), 150);
    }

    void theTwoLogsAreTheServicesOwn() {
        Home home;
        QCOMPARE(&home.view->lumoraConsole()->textArea().buffer(), &home.vars->lumoraLog());
        QCOMPARE(&home.view->qorClientConsole()->textArea().buffer(), &home.vars->qorClientLog());
        QVERIFY(named(*home.view->lumoraConsole(), "Lumora Core Engine"));
        QVERIFY(named(*home.view->qorClientConsole(), "Qor Client"));
        QVERIFY(home.view->lumoraConsole()->findChild<QWidget *>("lumBottom"));
        QVERIFY(home.view->qorClientConsole()->findChild<QWidget *>("qorBottom"));
        QVERIFY(home.view->lumoraConsole()->y() < home.view->qorClientConsole()->y());
    }

    void whatIsAppendedIsDrawn() {
        Home home;
        const QImage before = home.view->lumoraConsole()->grab().toImage();
        home.vars->appendLog(std::vector<LogElement>{"Lumora Core started.\n"}, LogTarget::Lumora);
        QTRY_VERIFY(home.view->lumoraConsole()->grab().toImage() != before);
    }

    void neitherLogGoesBelowItsLeastSize() {
        Home home(QSize(10, 10));
        for (const LogConsoleView *console : {home.view->lumoraConsole(), home.view->qorClientConsole()}) {
            QVERIFY(console->width() >= 300);
            QVERIFY(console->height() >= 150);
        }
    }

    void theShareOfTheHeightStaysWhenTheViewGrows() {
        Home home;
        home.view->setUpperShare(0.7);
        QCOMPARE(home.view->lumoraConsole()->height(), qRound((640 - 6) * 0.7));
        home.view->resize(800, 1200);
        QTRY_COMPARE(home.view->lumoraConsole()->height(), qRound((1200 - 6) * 0.7));
        home.view->setUpperShare(0);
        QCOMPARE(home.view->lumoraConsole()->height(), 150);
        home.view->setUpperShare(1);
        QCOMPARE(home.view->qorClientConsole()->height(), 150);
    }

    void aLogHeldAtItsLeastHeightGetsItsShareWhenTheViewGrows() {
        Home home({800, 500});
        home.view->setUpperShare(0.2);
        QCOMPARE(home.view->lumoraConsole()->height(), 150);
        home.view->resize(800, 1206);
        QTRY_COMPARE(home.view->lumoraConsole()->height(), 240);
        home.drag(-1000);
        home.view->resize(800, 2406);
        QTRY_COMPARE(home.view->lumoraConsole()->height(), 300);
        QCOMPARE(home.view->upperShare(), 0.125);
    }

    void theWindowBackgroundLiesBehind() {
        Home home;
        const QImage picture = home.view->grab().toImage();
        const int gap = home.view->lumoraConsole()->height() + 3;
        QCOMPARE(picture.pixelColor(400, gap), Theme::windowBackground(home.view->palette()));
    }

    void withoutALauncherStateTheProgramEnds() {
        QVERIFY(isFatal([] { HomeLogView(nullptr, nullptr, nullptr); }));
    }
};

TEST_CLASS(HomeLogViewTest, QApplication)
#include "HomeLogViewTest.moc"

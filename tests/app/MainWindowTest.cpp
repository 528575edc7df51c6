#include "ContentView.h"
#include "HomeLogView.h"
#include "LauncherPrefs.h"
#include "LogConsoleView.h"
#include "LogTextArea.h"
#include "MainMenu.h"
#include "MainWindow.h"
#include "MenuButton.h"
#include "QtAlertPresenter.h"
#include "Sidebar.h"
#include "TestProgram.h"
#include "Waiting.h"
#include "WindowFixture.h"
#include "WindowState.h"

#include <QClipboard>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QWindow>

using namespace ferrolt;

namespace {

/// Closes a window in the turn in which its content appears, before what is queued then.
class CloseOnceExposed : public QObject {
  public:
    explicit CloseOnceExposed(MainWindow &window) : window(window) {
        window.windowHandle()->installEventFilter(this);  // called before those that are installed already
    }

    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Expose)
            QMetaObject::invokeMethod(&window, &QWidget::close, Qt::QueuedConnection);
        return false;
    }

  private:
    MainWindow &window;
};

}  // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

    static QMenu *openMenu() { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); }

    static QStringList texts(const QMenu *menu) {
        QStringList texts;
        for (const QAction *action : menu->actions())
            texts.append(action->text().remove('&'));
        return texts;
    }

  private Q_SLOTS:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }

    void itBearsTheProgramsNameAndIcon() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QCOMPARE(window.windowTitle(), QString("Ferrolt Miner Launcher"));
        QVERIFY(!window.windowIcon().isNull());
        QCOMPARE(window.size(), QSize(1000, 640));
    }

    void itsContentIsMadeWhenItIsShown() {
        WindowFixture fixture;
        fixture.tree.writeIdentity("", "");
        fixture.create();
        fixture.window = std::make_unique<MainWindow>(fixture.vars, fixture.time,
                                                      std::make_shared<QtClipboard>(), fixture.stateFile());
        MainWindow &window = *fixture.window;
        QVERIFY(window.close());  // as at launch
        QVERIFY(!window.findChild<ContentView *>());
        WindowFixture::show(window);
        QVERIFY(window.findChild<ContentView *>());
        QVERIFY(window.findChild<LauncherPrefs *>());
        QVERIFY(!window.findChild<HomeLogView *>());
    }

    void closingIsAnnouncedWhenItWasVisible() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QSignalSpy closing(&window, &MainWindow::closing);
        window.hide();
        window.close();  // as at launch
        QCOMPARE(closing.size(), 0);
        WindowFixture::show(window);
        window.close();
        QCOMPARE(closing.size(), 1);
    }

    void itTellsThatTheSettingsWereSaved() {
        WindowFixture fixture;
        fixture.tree.writeIdentity("", "");
        MainWindow &window = fixture.open();
        QSignalSpy saved(&window, &MainWindow::settingsSaved);
        named<QPushButton>(window, "Save & Apply Configuration")->click();
        QTRY_COMPARE(saved.size(), 1);
    }

    void closingHidesItAndItCanBeShownAgain() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QSignalSpy quitting(qApp, &QCoreApplication::aboutToQuit);
        QVERIFY(window.close());
        QVERIFY(!window.isVisible());
        QCoreApplication::processEvents();
        QCOMPARE(quitting.size(), 0);
        WindowFixture::show(window);
        QVERIFY(window.isVisible());
    }

    void itTellsEachTimeThatItsContentAppears() {
        WindowFixture fixture;
        fixture.create();
        fixture.window = std::make_unique<MainWindow>(fixture.vars, fixture.time,
                                                      std::make_shared<QtClipboard>(), fixture.stateFile());
        QSignalSpy appeared(fixture.window.get(), &MainWindow::contentAppeared);
        QCoreApplication::processEvents();
        QCOMPARE(appeared.size(), 0);
        fixture.window->show();
        QTRY_COMPARE(appeared.size(), 1);
        fixture.window->show();
        fixture.window->activateWindow();
        fixture.vars->selectTab(AppVars::settingsTab);
        QCoreApplication::processEvents();
        QCOMPARE(appeared.size(), 1);
        fixture.window->close();
        fixture.window->show();
        QTRY_COMPARE(appeared.size(), 2);
    }

    void itDoesNotTellThatItsContentAppearsOnceItIsClosed() {
        WindowFixture fixture;
        fixture.create();
        fixture.window = std::make_unique<MainWindow>(fixture.vars, fixture.time,
                                                      std::make_shared<QtClipboard>(), fixture.stateFile());
        MainWindow &window = *fixture.window;
        QSignalSpy appeared(&window, &MainWindow::contentAppeared);
        window.show();
        CloseOnceExposed closing(window);
        QVERIFY(waitUntil([&] { return !window.isVisible(); }));
        QCoreApplication::processEvents();
        QCOMPARE(appeared.size(), 0);
    }

    void controlQAsksForQuitAndControlWCloses() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QSignalSpy quit(&window, &MainWindow::quitRequested);
        QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(quit.size(), 1);
        QVERIFY(window.isVisible());
        QTest::keyClick(&window, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!window.isVisible());
        QCOMPARE(quit.size(), 1);
    }

    void theShortcutsWorkFromWithinAField() {
        WindowFixture fixture;
        fixture.tree.writeIdentity("", "");
        MainWindow &window = fixture.open();
        auto *email = named<QLineEdit>(window, "E-Mail Address");
        email->setFocus();
        QTest::keyClicks(email, "ada@example.org");
        QTest::keyClick(email, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(email->selectedText(), QString("ada@example.org"));
        QTest::keyClick(email, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), QString("ada@example.org"));
        QSignalSpy quit(&window, &MainWindow::quitRequested);
        QTest::keyClick(email, Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(quit.size(), 1);
    }

    void f10OpensAMenuWithQuitAndTheRest() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QSignalSpy quit(&window, &MainWindow::quitRequested);
        QStringList seen;
        // The menu runs an event loop of its own.
        QTimer::singleShot(0, &window, [&] {
            QTRY_VERIFY(openMenu());
            seen = texts(openMenu());
            for (QAction *action : openMenu()->actions()) {
                if (action->text().contains("Quit"))
                    QTest::mouseClick(openMenu(), Qt::LeftButton, {},
                                      openMenu()->actionGeometry(action).center());
            }
        });
        QTest::keyClick(&window, Qt::Key_F10);
        QTRY_COMPARE(quit.size(), 1);
        QCOMPARE(seen, (QStringList{"Copy", "Select All", "", "Find", "Find Next", "Find Previous", "",
                                    "Newest Entry", "Save Log As…", "", "Home", "Settings", "",
                                    "About Ferrolt Miner Launcher", "", "Close", "Quit"}));
    }

    void theMenuOpensInsideTheWindow_data() {
        QTest::addColumn<Qt::LayoutDirection>("direction");
        QTest::newRow("left to right") << Qt::LeftToRight;
        QTest::newRow("right to left") << Qt::RightToLeft;
    }
    void theMenuOpensInsideTheWindow() {
        QFETCH(Qt::LayoutDirection, direction);
        const auto restore = qScopeGuard([] { QApplication::setLayoutDirection(Qt::LeftToRight); });
        QApplication::setLayoutDirection(direction);
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QRect place;
        // The menu runs an event loop of its own.
        QTimer::singleShot(0, &window, [&] {
            QTRY_VERIFY(openMenu());
            place = openMenu()->geometry();
            openMenu()->close();
        });
        QTest::keyClick(&window, Qt::Key_F10);
        QTRY_VERIFY(place.isValid());
        QVERIFY(window.geometry().contains(place));
    }

    void theMenusCopyAndSelectAllGoToTheFieldThatHasTheKeyboard() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        fixture.vars->selectTab(AppVars::settingsTab);
        QTRY_VERIFY(named<QLineEdit>(window, "E-Mail Address"));
        auto *email = named<QLineEdit>(window, "E-Mail Address");
        QTRY_COMPARE(email->text(), QString("ada@example.org"));
        email->setFocus();
        for (const QString name : {"Select All", "Copy"}) {
            const std::unique_ptr<QMenu> menu(window.findChild<MainMenu *>()->compactMenu());
            menu->popup(QPoint());
            for (QAction *action : menu->actions()) {
                if (action->text().remove('&') == name)
                    action->trigger();
            }
        }
        QCOMPARE(email->selectedText(), QString("ada@example.org"));
        QCOMPARE(QApplication::clipboard()->text(), QString("ada@example.org"));
    }

    void theOpenedMenuCopiesTheLogThatHasTheKeyboard() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        fixture.vars->appendLog(std::vector<LogElement>{"one\n", "two"}, LogTarget::QorClient);
        LogTextArea &area = window.findChild<HomeLogView *>()->qorClientConsole()->textArea();
        area.setFocus();
        QSignalSpy refreshed(&area, &LogTextArea::refreshed);
        QVERIFY(refreshed.wait());
        QApplication::clipboard()->clear();
        for (const QString text : {"Select All", "Copy"}) {
            // The offscreen platform keeps the closed menu as the active window.
            QApplication::setActiveWindow(&window);
            area.setFocus();
            QTimer::singleShot(0, &window, [&] {
                QTRY_VERIFY(openMenu());
                for (QAction *action : openMenu()->actions()) {
                    if (action->text().remove('&') == text) {
                        QTest::mouseClick(openMenu(), Qt::LeftButton, {},
                                          openMenu()->actionGeometry(action).center());
                        return;
                    }
                }
            });
            QTest::keyClick(&window, Qt::Key_F10);
            QTRY_VERIFY(!openMenu());
        }
        QVERIFY(area.hasSelection());
        QTRY_COMPARE(QApplication::clipboard()->text(), QString("one\ntwo"));
    }

    void theMenuButtonIsDrawnWhereverThePointerIs() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        MenuButton *button = window.content()->sidebar()->menuButton();
        QVERIFY(button->isVisible());
        QTest::mouseMove(window.windowHandle(), QPoint(600, 300));
        QVERIFY(!button->parentWidget()->underMouse());
        const QImage picture = button->grab().toImage();
        QImage plain = picture;
        plain.fill(picture.pixel(0, picture.height() - 1));
        QVERIFY(picture != plain);
    }

    void sizeAndDividersComeBack() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        window.resize(1100, 700);
        QTRY_COMPARE(window.size(), QSize(1100, 700));
        window.content()->setSidebarWidth(230);
        window.content()->setUpperLogShare(0.6);
        const int upperLog = window.content()->homeLogs()->lumoraConsole()->height();
        window.close();
        QVERIFY(QFile::exists(fixture.stateFile()));

        MainWindow &again = fixture.open();
        QTRY_COMPARE(again.size(), QSize(1100, 700));
        QCOMPARE(again.content()->sidebarWidth(), 230);
        QTRY_COMPARE(again.content()->homeLogs()->lumoraConsole()->height(), upperLog);
    }

    void dividersComeBackAlsoWhenTheWindowIsOpenedLate() {
        WindowFixture fixture;
        WindowState state;
        state.size = QSize(1200, 800);
        state.sidebarWidth = 181;
        state.upperLogShare = 0.25;
        state.save(fixture.stateFile());
        fixture.create();
        fixture.window = std::make_unique<MainWindow>(fixture.vars, fixture.time,
                                                      std::make_shared<QtClipboard>(), fixture.stateFile());
        QCoreApplication::processEvents();
        fixture.window->show();
        QVERIFY(QTest::qWaitForWindowExposed(fixture.window.get()));
        QCOMPARE(fixture.window->content()->sidebarWidth(), 181);
        const HomeLogView &logs = *fixture.window->content()->homeLogs();
        QCOMPARE(logs.lumoraConsole()->height(), qRound((logs.height() - 6) * 0.25));
    }

    void aMaximizedWindowComesBackMaximizedAndKeepsItsNormalSize() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        window.resize(1100, 700);
        QTRY_COMPARE(window.size(), QSize(1100, 700));
        window.showMaximized();
        QTRY_VERIFY(window.width() > 1100);
        window.close();

        MainWindow &again = fixture.open();
        QTRY_VERIFY(again.isMaximized());
        again.showNormal();
        QTRY_COMPARE(again.size(), QSize(1100, 700));
    }

    /// Its normal size, which it has until the desktop maximizes it, is too low for that share.
    void theDividerOfAMaximizedWindowComesBack() {
        WindowFixture fixture;
        WindowState state;
        state.size = QSize(1000, 500);
        state.isMaximized = true;
        state.upperLogShare = 0.2;
        state.save(fixture.stateFile());
        for (int run = 0; run < 2; ++run) {
            MainWindow &window = fixture.open();
            QTRY_VERIFY(window.height() > 1000);
            const HomeLogView &logs = *window.content()->homeLogs();
            QTRY_COMPARE(logs.lumoraConsole()->height(), qRound((logs.height() - 6) * 0.2));
            window.close();
            QCOMPARE(WindowState::load(fixture.stateFile()), state);
        }
    }

    void aRunThatNeverShowsTheWindowForgetsNothing() {
        WindowFixture fixture;
        WindowState state;
        state.size = QSize(1200, 800);
        state.sidebarWidth = 181;
        state.upperLogShare = 0.25;
        state.save(fixture.stateFile());
        fixture.create();
        fixture.window = std::make_unique<MainWindow>(fixture.vars, fixture.time,
                                                      std::make_shared<QtClipboard>(), fixture.stateFile());
        QVERIFY(fixture.window->close());  // as at a launch with a complete identity
        QVERIFY(QMetaObject::invokeMethod(qApp, "aboutToQuit"));
        const WindowState after = WindowState::load(fixture.stateFile());
        QCOMPARE(after.size, state.size);
        QCOMPARE(after.sidebarWidth, 181);
        QCOMPARE(after.upperLogShare, 0.25);
    }

    void theDividersAreKeptWhileTheLogsAreNotMade() {
        WindowFixture fixture;
        fixture.tree.writeIdentity("", "");
        WindowState state;
        state.sidebarWidth = 181;
        state.upperLogShare = 0.25;
        state.save(fixture.stateFile());
        fixture.open().close();
        QCOMPARE(WindowState::load(fixture.stateFile()), state);
        MainWindow &window = fixture.open();
        fixture.vars->selectTab(AppVars::homeTab);
        QTRY_VERIFY(window.findChild<HomeLogView *>());
        const HomeLogView &logs = *window.content()->homeLogs();
        QTRY_COMPARE(logs.lumoraConsole()->height(), qRound((logs.height() - 6) * 0.25));
    }

    void aRememberedSizeIsFittedToTheScreenAndToTheLeastSize_data() {
        QTest::addColumn<QSize>("remembered");
        QTest::addRow("huge") << QSize(30000, 30000);
        QTest::addRow("tiny") << QSize(1, 1);
    }
    void aRememberedSizeIsFittedToTheScreenAndToTheLeastSize() {
        QFETCH(QSize, remembered);
        WindowFixture fixture;
        WindowState state;
        state.size = remembered;
        state.sidebarWidth = 30000;
        state.upperLogShare = 0.999;
        state.save(fixture.stateFile());
        MainWindow &window = fixture.open();
        const QSize screen = window.screen()->availableSize();
        QVERIFY(window.width() <= qMax(800, screen.width()) && window.height() <= qMax(500, screen.height()));
        QVERIFY(window.width() >= 800 && window.height() >= 500);
        QCOMPARE(window.content()->sidebarWidth(), 250);
    }

    void aStateThatCannotBeKeptDoesNoHarm() {
        WindowFixture fixture;
        // A file where the folder should be.
        TestTree::write(fixture.state.filePath("below").toStdString(), "in the way");
        MainWindow &window = fixture.open();
        QCOMPARE(window.size(), QSize(1000, 640));
        window.close();
        QVERIFY(!window.isVisible());
    }

    void anAlertShownAsTheContentAppearsLiesAboveAndOutlivesTheWindow() {
        WindowFixture fixture;
        fixture.create();
        QtAlertPresenter presenter;
        bool dismissed = false;
        fixture.window = std::make_unique<MainWindow>(fixture.vars, fixture.time,
                                                      std::make_shared<QtClipboard>(), fixture.stateFile());
        connect(fixture.window.get(), &MainWindow::contentAppeared, [&] {
            presenter.present(
                {.messageText = "Ferrolt Miner Missing Info", .informativeText = "Text", .button = "OK"},
                [&] { dismissed = true; });
        });
        fixture.window->show();
        QTRY_VERIFY(QApplication::activeModalWidget());
        QTRY_VERIFY(QApplication::activeModalWidget()->isActiveWindow());
        QPointer<QWidget> alert = QApplication::activeModalWidget();
        fixture.window->close();
        QVERIFY(!fixture.window->isVisible());
        QCoreApplication::processEvents();
        QVERIFY(alert && alert->isVisible());
        QVERIFY(!dismissed);
        QTest::keyClick(alert, Qt::Key_Return);
        QTRY_VERIFY(dismissed);
    }
};

TEST_MAIN(MainWindowTest) {
    useLargeScreen();
    QApplication application(argc, argv);
    MainWindowTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "MainWindowTest.moc"

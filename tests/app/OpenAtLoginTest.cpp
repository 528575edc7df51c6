#include "ContentView.h"
#include "MenuButton.h"
#include "OpenAtLogin.h"
#include "PracticeLoginItem.h"
#include "RecordingAlerts.h"
#include "Sidebar.h"
#include "TestProgram.h"
#include "WindowFixture.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QTest>

#include <memory>

using namespace ferrolt;
using State = LoginItem::State;

class OpenAtLoginTest : public QObject {
    Q_OBJECT

    PracticeLoginItem::Facts facts;
    std::shared_ptr<RecordingAlerts> alerts;
    std::unique_ptr<OpenAtLogin> openAtLogin;

  private Q_SLOTS:
    void init() {
        facts = {};
        alerts = std::make_shared<RecordingAlerts>();
        openAtLogin = std::make_unique<OpenAtLogin>(std::make_unique<PracticeLoginItem>(facts), alerts);
    }

    void theSwitchIsOffAtFirstAndWritesWhatItShows() {
        QAction *toggle = openAtLogin->action();
        QCOMPARE(toggle->text().remove('&'), QString("Open at Login"));
        QVERIFY(toggle->isCheckable() && !toggle->isChecked());
        toggle->trigger();
        QVERIFY(toggle->isChecked());
        QCOMPARE(facts.state, State::On);
        toggle->trigger();
        QVERIFY(!toggle->isChecked());
        QCOMPARE(facts.state, State::Off);
        QVERIFY(alerts->shown.empty());
    }

    void itShowsTheStateWheneverAMenuWithItOpens() {
        QMenu menu;
        menu.addAction(openAtLogin->action());
        openAtLogin->followMenus();
        openAtLogin->followMenus();
        for (const State state : {State::On, State::Off}) {
            facts.state = state;
            menu.popup(QPoint(0, 0));
            QCOMPARE(openAtLogin->action()->isChecked(), state == State::On);
            menu.close();
        }
    }

    void aFailureTakesTheSwitchBackAndSaysWhyOnceAtATime() {
        facts.failure = "The disk is full.";
        openAtLogin->action()->trigger();
        QVERIFY(!openAtLogin->action()->isChecked());
        openAtLogin->action()->trigger();
        QVERIFY(!openAtLogin->action()->isChecked());
        QCOMPARE(alerts->shown.size(), 1U);
        QCOMPARE(alerts->shown[0].messageText, QString::fromUtf8("“Open at Login” Was Not Changed"));
        QCOMPARE(alerts->shown[0].informativeText, QString("The disk is full."));
        alerts->dismiss(0);
        openAtLogin->action()->trigger();
        QCOMPARE(alerts->shown.size(), 2U);
    }

    void aWindowThatIsShownLaterHasItInItsMenu() {
        WindowFixture fixture;
        fixture.create();
        fixture.window = std::make_unique<MainWindow>(fixture.vars, fixture.time,
                                                      std::make_shared<QtClipboard>(), fixture.stateFile());
        fixture.window->setOpenAtLogin(*openAtLogin);
        WindowFixture::show(*fixture.window);
        QMenu *const menu = fixture.window->content()->sidebar()->menuButton()->menu();
        QVERIFY(menu->actions().contains(openAtLogin->action()));
        facts.state = State::On;
        Q_EMIT menu->aboutToShow();
        QVERIFY(openAtLogin->action()->isChecked());
    }

    void inTheWindowsMenuItIsWorkedByMouseKeysAndScreenReaders() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        window.setOpenAtLogin(*openAtLogin);
        QMenu *menu = window.content()->sidebar()->menuButton()->menu();
        QAction *toggle = openAtLogin->action();
        const qsizetype place = menu->actions().indexOf(toggle);
        QVERIFY(place >= 0);

        menu->popup(QPoint(0, 0));
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(toggle).center());
        QCOMPARE(facts.state, State::On);
        QVERIFY(!menu->isVisible());

        menu->popup(QPoint(0, 0));
        QTest::keyClick(menu, Qt::Key_G);
        QCOMPARE(facts.state, State::Off);
        QVERIFY(!menu->isVisible());

        menu->popup(QPoint(0, 0));
        QAccessibleInterface *item =
            QAccessible::queryAccessibleInterface(menu)->child(static_cast<int>(place));
        QCOMPARE(item->text(QAccessible::Name), QString("Open at Login"));
        QVERIFY(item->state().checkable && !item->state().checked);
        item->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(facts.state, State::On);
        QVERIFY(item->state().checked);
        menu->close();

        openAtLogin.reset();  // as at the end of the program
        QVERIFY(!menu->actions().contains(toggle));
    }
};

TEST_CLASS(OpenAtLoginTest, QApplication)
#include "OpenAtLoginTest.moc"

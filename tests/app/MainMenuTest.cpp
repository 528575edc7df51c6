#include "ContentView.h"
#include "HomeLogView.h"
#include "LogConsoleView.h"
#include "LogTextArea.h"
#include "MainMenu.h"
#include "TestProgram.h"
#include "WindowFixture.h"

#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace ferrolt;

class MainMenuTest : public QObject {
    Q_OBJECT

    const QString about = "About Ferrolt Miner Launcher";

    static QStringList texts(const QMenu *menu) {
        QStringList texts;
        for (const QAction *action : menu->actions())
            texts.append(action->text().remove('&'));
        return texts;
    }
    static QAction *action(const QWidget &owner, const QString &text) {
        for (QAction *each : owner.actions()) {
            if (each->text().remove('&') == text)
                return each;
        }
        return nullptr;
    }
    /// Those that the compact menu enables when it opens.
    static QStringList enabled(MainWindow &window) {
        const std::unique_ptr<QMenu> menu(window.findChild<MainMenu *>()->compactMenu());
        menu->popup(QPoint());
        QStringList texts;
        for (const QAction *each : menu->actions()) {
            if (each->isEnabled() && !each->isSeparator())
                texts.append(each->text().remove('&'));
        }
        menu->close();
        QApplication::setActiveWindow(&window);  // the offscreen platform keeps the closed menu
        return texts;
    }
    static void press(const QKeySequence &keys) { QTest::keySequence(QApplication::focusWidget(), keys); }

  private Q_SLOTS:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }

    /// As on a desktop with a global menu bar.
    void theBarHasAllCommands() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QMenuBar bar;
        window.findChild<MainMenu *>()->fill(&bar);
        QStringList menus;
        for (const QAction *each : bar.actions())
            menus.append(each->text().remove('&'));
        QCOMPARE(menus, (QStringList{"File", "Edit", "View", "Help"}));
        const QMenu *const file = bar.actions()[0]->menu();
        const QMenu *const edit = bar.actions()[1]->menu();
        const QMenu *const view = bar.actions()[2]->menu();
        QCOMPARE(texts(file), (QStringList{"Save Log As…", "", "Settings", "", "Close", "", "Quit"}));
        QCOMPARE(texts(edit), (QStringList{"Copy", "Select All", "", "Find", "Find Next", "Find Previous"}));
        QCOMPARE(texts(view), (QStringList{"Home", "", "Newest Entry"}));
        const QMenu *const help = bar.actions()[3]->menu();
        QCOMPARE(texts(help), (QStringList{"About Ferrolt Miner Launcher"}));
        // macOS moves these into the menu with the program's name.
        QCOMPARE(action(*file, "Settings")->menuRole(), QAction::PreferencesRole);
        QCOMPARE(action(*help, "About Ferrolt Miner Launcher")->menuRole(), QAction::AboutRole);
        QCOMPARE(action(*file, "Quit")->menuRole(), QAction::QuitRole);
    }

    void everyCommandHasAKeyAndALetterOfItsOwn() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QMenu *const menu = window.findChild<MainMenu *>()->compactMenu();
        QStringList keys;
        QStringList letters;
        for (const QAction *each : menu->actions()) {
            if (each->isSeparator())
                continue;
            const QString letter = each->text().section('&', 1, 1).left(1).toUpper();
            QVERIFY2(!letter.isEmpty() && !letters.contains(letter), qPrintable(each->text()));
            letters.append(letter);
            for (const QKeySequence &key : each->shortcuts()) {
                QVERIFY2(!keys.contains(key.toString()), qPrintable(key.toString()));
                keys.append(key.toString());
            }
        }
        for (const QString key : {"Ctrl+C", "Ctrl+A", "Ctrl+F", "F3", "Ctrl+G", "Shift+F3", "Ctrl+Shift+G",
                                  "Alt+Home", "Alt+End", "Ctrl+Shift+S", "Ctrl+,", "Ctrl+W", "Ctrl+Q"})
            QVERIFY2(keys.contains(key), qPrintable(key));
    }

    void closeAndQuitAskForIt() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QSignalSpy closing(window.findChild<MainMenu *>(), &MainMenu::closeRequested);
        QSignalSpy quitting(window.findChild<MainMenu *>(), &MainMenu::quitRequested);
        action(window, "Quit")->trigger();
        QCOMPARE(quitting.size(), 1);
        QCOMPARE(closing.size(), 0);
        action(window, "Close")->trigger();
        QCOMPARE(quitting.size(), 1);
        QCOMPARE(closing.size(), 1);
    }

    void theKeysForHomeAndSettingsSwitchFromEverywhere() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        press(QKeySequence("Ctrl+,"));
        QTRY_VERIFY(named<QLineEdit>(window, "E-Mail Address"));
        QCOMPARE(fixture.vars->_selectedTab.get(), AppVars::settingsTab);
        named(window, "E-Mail Address")->setFocus();
        press(QKeySequence("Alt+Home"));
        QTRY_VERIFY(window.content()->homeLogs()->isVisible());
        QCOMPARE(fixture.vars->_selectedTab.get(), AppVars::homeTab);
    }

    void onlyWhatDoesSomethingIsEnabled() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QCOMPARE(enabled(window), (QStringList{"Settings", about, "Close", "Quit"}));
        fixture.vars->appendLog(std::vector<LogElement>{"one\n", "two"}, LogTarget::QorClient);
        LogTextArea &area = window.content()->homeLogs()->qorClientConsole()->textArea();
        QSignalSpy refreshed(&area, &LogTextArea::refreshed);
        QVERIFY(refreshed.wait());
        QCOMPARE(enabled(window), (QStringList{"Settings", about, "Close", "Quit"}));  // the other log
        area.setFocus();
        const QStringList withALog{"Select All", "Find", "Find Next", "Find Previous", "Save Log As…",
                                   "Settings",   about,  "Close",     "Quit"};
        QCOMPARE(enabled(window), withALog);
        action(window, "Select All")->trigger();
        QCOMPARE(enabled(window), QStringList{"Copy"} + withALog);

        fixture.vars->selectTab(AppVars::settingsTab);
        QTRY_VERIFY(named<QLineEdit>(window, "E-Mail Address"));
        auto *const email = named<QLineEdit>(window, "E-Mail Address");
        QTRY_COMPARE(email->text(), QString("ada@example.org"));
        window.setFocus();
        QCOMPARE(enabled(window), (QStringList{"Home", about, "Close", "Quit"}));
        email->setFocus();
        QCOMPARE(enabled(window), (QStringList{"Select All", "Home", about, "Close", "Quit"}));
        email->selectAll();
        QCOMPARE(enabled(window), (QStringList{"Copy", "Select All", "Home", about, "Close", "Quit"}));
    }

    /// As with a menu bar outside of the window.
    void homeAndSettingsOpenAClosedWindow() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        for (const QString text : {"Home", "Settings"}) {
            window.close();
            QStringList possible = enabled(window);
            QCOMPARE(possible, (QStringList{"Home", "Settings", about, "Quit"}));
            action(window, text)->trigger();
            QVERIFY(window.isVisible());
            QCOMPARE(fixture.vars->_selectedTab.get(), text.toLower());
        }
    }

    void aScreenReaderOpensTheMenuAndPressesItsItems() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        auto *const button = named(window, "Menu");
        QVERIFY(button);
        QAccessibleInterface *const known = QAccessible::queryAccessibleInterface(button);
        QCOMPARE(known->childCount(), 1);
        const QAccessibleInterface *const menu = known->child(0);
        QCOMPARE(known->indexOfChild(menu), 0);
        QVERIFY(menu->state().invisible);
        known->actionInterface()->doAction(QAccessibleActionInterface::showMenuAction());
        QVERIFY(menu->state().invisible);  // so the call has returned before the menu opened
        bool pressed = false;
        // The menu runs an event loop of its own.
        QTimer::singleShot(0, &window, [&] {
            QTRY_VERIFY(!menu->state().invisible);
            for (int i = 0; i < menu->childCount(); ++i) {
                if (menu->child(i)->text(QAccessible::Name) == "Settings") {
                    menu->child(i)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
                    pressed = true;
                }
            }
        });
        QTRY_VERIFY(pressed);
        QVERIFY(menu->state().invisible);
        QCOMPARE(fixture.vars->_selectedTab.get(), AppVars::settingsTab);
    }

    void openAtLoginStandsBelowSettings() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QMenuBar bar;
        window.findChild<MainMenu *>()->fill(&bar);
        const QMenu *const compact = window.findChild<MainMenu *>()->compactMenu();
        QAction openAtLogin("Open at Login");
        window.findChild<MainMenu *>()->setOpenAtLogin(&openAtLogin);
        for (const QMenu *menu : {compact, static_cast<const QMenu *>(bar.actions()[0]->menu())}) {
            const qsizetype at = texts(menu).indexOf("Settings");
            QCOMPARE(texts(menu).mid(at, 3), (QStringList{"Settings", "Open at Login", ""}));
            QVERIFY(texts(menu).indexOf("Quit") > at);
        }
    }
};

TEST_MAIN(MainMenuTest) {
    useLargeScreen();
    QApplication application(argc, argv);
    MainMenuTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "MainMenuTest.moc"

#include "MainMenu.h"
#include "TestProgram.h"

#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>

using namespace ferrolt;

class MainMenuTest : public QObject {
    Q_OBJECT

    static QStringList texts(const QMenu *menu) {
        QStringList texts;
        for (const QAction *action : menu->actions())
            texts.append(action->text().remove('&'));
        return texts;
    }
    static QAction *action(const QMenu *menu, const QString &text) {
        const qsizetype at = texts(menu).indexOf(text);
        return at < 0 ? nullptr : menu->actions().at(at);
    }

  private Q_SLOTS:
    /// As on a desktop with a global menu bar.
    void theBarHasAFileAndAnEditMenu() {
        QWidget window;
        MainMenu menu(&window);
        QMenuBar bar;
        menu.fill(&bar);
        QCOMPARE(bar.actions().size(), 2);
        QCOMPARE(bar.actions()[0]->text(), QString("&File"));
        QCOMPARE(bar.actions()[1]->text(), QString("&Edit"));
        const QMenu *const file = bar.actions()[0]->menu();
        const QMenu *const edit = bar.actions()[1]->menu();
        QCOMPARE(texts(file), (QStringList{"Close", "", "Quit"}));
        QCOMPARE(texts(edit), (QStringList{"Copy", "Select All"}));
        QCOMPARE(action(file, "Close")->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_W));
        QCOMPARE(action(file, "Quit")->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
        QCOMPARE(action(edit, "Copy")->shortcut(), QKeySequence(QKeySequence::Copy));
        QCOMPARE(action(edit, "Select All")->shortcut(), QKeySequence(QKeySequence::SelectAll));
        // macOS moves it into the menu with the program's name.
        QCOMPARE(action(file, "Quit")->menuRole(), QAction::QuitRole);

        QSignalSpy closing(&menu, &MainMenu::closeRequested);
        QSignalSpy quitting(&menu, &MainMenu::quitRequested);
        action(file, "Close")->trigger();
        QCOMPARE(closing.size(), 1);
        QCOMPARE(quitting.size(), 0);
        action(file, "Quit")->trigger();
        QCOMPARE(closing.size(), 1);
        QCOMPARE(quitting.size(), 1);
    }

    void whatHasNothingToCopyIsLeftAlone() {
        QWidget window;
        MainMenu menu(&window);
        window.setFocusPolicy(Qt::StrongFocus);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.setFocus();
        QCOMPARE(QApplication::focusWidget(), &window);
        for (QAction *each : window.actions())
            each->trigger();
        QVERIFY(window.isVisible());
    }
};

TEST_CLASS(MainMenuTest, QApplication)
#include "MainMenuTest.moc"

#include "ConsoleActions.h"
#include "ConsoleFixture.h"
#include "TestProgram.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QTest>

using namespace ferrolt;

class ConsoleActionsTest : public QObject {
    Q_OBJECT

    static QStringList enabled(ConsoleFixture &console) {
        console.actions.refresh();
        QStringList texts;
        for (const QAction *each : console.view.actions()) {
            if (each->isEnabled())
                texts.append(each->text().remove('&'));
        }
        return texts;
    }
    /// Opens the find bar, with the keyboard in it.
    static QLineEdit *fieldWith(ConsoleFixture &console, const QString &text) {
        console.actions.refresh();
        console.actions.find->trigger();
        auto *const field = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        if (field != nullptr)
            field->setText(text);
        return field;
    }

    class KeyRecorder : public QWidget {
      public:
        using QWidget::QWidget;
        QList<int> keys;

      protected:
        void keyPressEvent(QKeyEvent *event) override {
            if (event->key() != Qt::Key_Control)
                keys.append(event->key());
        }
    };

  private Q_SLOTS:
    void anEmptyLogHasNothingToDo() {
        ConsoleFixture console;
        console.show();
        console.area().setFocus();
        QCOMPARE(enabled(console), QStringList());
    }

    void copyIsForASelection() {
        ConsoleFixture console;
        console.show();
        console.appendAndWait("one\ntwo\n");
        console.area().setFocus();
        QVERIFY(!enabled(console).contains("Copy"));
        for (const QString text : {"Select All", "Find", "Find Next", "Find Previous", "Save Log As…"})
            QVERIFY2(enabled(console).contains(text), qPrintable(text));
        console.actions.selectAll->trigger();
        QVERIFY(enabled(console).contains("Copy"));
        console.actions.copy->trigger();
        QCOMPARE(console.clipboard.text, "one\ntwo\n");
    }

    void aConsoleThatIsNotShownHasNothingToDo() {
        ConsoleFixture console;
        console.show();
        console.appendAndWait("one\n");
        console.view.hide();
        QCOMPARE(enabled(console), QStringList());
        console.actions.selectAll->trigger();
        QVERIFY(!console.area().hasSelection());
    }

    /// Nothing but the key itself tells the commands that the log has changed.
    void theKeysWorkFromAnyWidgetAsSoonAsThereIsSomethingToDo() {
        ConsoleFixture console;
        console.show();
        console.appendAndWait("one\ntwo\n");
        console.copyButton().setFocus();
        QTest::keyClick(&console.copyButton(), Qt::Key_A, Qt::ControlModifier);
        QVERIFY(console.area().hasSelection());
        QTest::keyClick(&console.copyButton(), Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(console.clipboard.text, "one\ntwo\n");
    }

    void aDisabledCommandLeavesItsKeyToTheFocusedWidget() {
        ConsoleFixture console;
        KeyRecorder other(&console.view);
        other.setFocusPolicy(Qt::StrongFocus);
        console.show();
        other.setFocus();
        QTest::keyClick(&other, Qt::Key_C, Qt::ControlModifier);
        QTest::keyClick(&other, Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(other.keys, (QList<int>{Qt::Key_C, Qt::Key_F}));
        console.appendAndWait("one\n");
        QTest::keyClick(&other, Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(other.keys.size(), 2);
    }

    void copyAndSelectAllAreForTheFieldThatHasTheKeyboard() {
        ConsoleFixture console;
        console.show();
        console.appendAndWait("one\ntwo\n");
        QLineEdit *const field = fieldWith(console, "needle");
        QVERIFY(field);
        field->deselect();
        QVERIFY(!enabled(console).contains("Copy"));
        console.actions.selectAll->trigger();
        QCOMPARE(field->selectedText(), QString("needle"));
        QVERIFY(!console.area().hasSelection());
        QVERIFY(enabled(console).contains("Copy"));
        console.actions.copy->trigger();
        QCOMPARE(QApplication::clipboard()->text(), QString("needle"));
        QVERIFY(console.clipboard.calls.empty());
        field->clear();
        QVERIFY(!enabled(console).contains("Select All"));
    }

    void theContextMenuHasTheSameCommandsAndKnowsTheLog() {
        ConsoleFixture console;
        console.show();
        console.appendAndWait("one\n");
        for (const auto reason : {QContextMenuEvent::Mouse, QContextMenuEvent::Keyboard}) {
            const QPoint point(30, 30);
            QContextMenuEvent event(reason, point, console.area().viewport()->mapToGlobal(point));
            QCoreApplication::sendEvent(console.area().viewport(), &event);
            auto *const menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            QVERIFY(menu);
            QVERIFY(console.view.frameGeometry().contains(menu->pos()));
            for (QAction *each : console.view.actions())
                QVERIFY2(menu->actions().contains(each), qPrintable(each->text()));
            QVERIFY(console.actions.find->isEnabled());
            QVERIFY(!console.actions.copy->isEnabled());
            menu->close();
        }
    }
};

TEST_CLASS(ConsoleActionsTest, QApplication)
#include "ConsoleActionsTest.moc"

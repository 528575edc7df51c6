#include "ApplicationLook.h"
#include "CpuTime.h"
#include "LauncherStyle.h"
#include "TestProgram.h"
#include "TextField.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>

using namespace ferrolt;

class TextFieldTest : public QObject {
    Q_OBJECT

    /// Pastes with the keyboard.
    static void paste(TextField &field, const QString &text) {
        QApplication::clipboard()->setText(text);
        QTest::keySequence(&field, QKeySequence::Paste);
    }

    /// Clicks a menu item.
    static void choose(QMenu *menu, const QString &text) {
        QVERIFY(menu);
        for (QAction *action : menu->actions()) {
            if (action->text().remove('&') == text) {
                QVERIFY(action->isEnabled());
                QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
            }
        }
    }

    static void show(QWidget &widget) {
        widget.show();
        widget.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&widget));
        widget.setFocus();
    }

  private Q_SLOTS:
    void initTestCase() { LauncherStyle::install(); }

    void aPastedMegabyteIsTakenWholeAndTheFieldStillAnswers_data() {
        QTest::addColumn<QString>("text");
        QTest::addRow("words") << QString("ada@example.org ").repeated(65536);
        QTest::addRow("one word") << QString(1 << 20, 'x');
        QTest::addRow("emoji") << QString::fromUtf8("\U0001F600").repeated(1 << 18);
        QTest::addRow("combining and right-to-left marks")
            << QString::fromUtf8("e\u0301\u202Eab\u202C\u200F\u05D0").repeated(1 << 17);
        QTest::addRow("line breaks") << "a" + QString("\r\n").repeated(1 << 19) + "b";
    }
    void aPastedMegabyteIsTakenWholeAndTheFieldStillAnswers() {
        QFETCH(QString, text);
        TextField field("E-Mail Address");
        show(field);
        const CpuTime clock;
        paste(field, text);
        QTest::keyClicks(&field, "z");
        field.repaint();
        // Far more than it takes, even with a sanitizer; far less than a freeze.
        const auto took = clock.milliseconds();
        QVERIFY2(took < 20000, qPrintable(QString("%1 ms").arg(took)));
        QCOMPARE(field.text(), text.replace("\r\n", " ") + "z");
    }

    void aTextTooLongIsCutAndTheUserToldSo() {
        TextField field("E-Mail Address");
        show(field);
        field.setText(QString(TextField::maxTextLength - 2, 'x'));
        QVERIFY(!QToolTip::isVisible());
        paste(field, "abc");
        QCOMPARE(field.text().size(), TextField::maxTextLength);
        QTRY_VERIFY(QToolTip::isVisible());
        QVERIFY(QToolTip::text().contains("too long"));
        QToolTip::hideText();
    }

    void pastedLinesBecomeOneLine() {
        TextField field("User / Company Name");
        show(field);
        paste(field, "Ada\r\nLovelace\n");
        QCOMPARE(field.text(), QString("Ada Lovelace"));
        QTest::keyClicks(&field, "!");
        QCOMPARE(field.text(), QString("Ada Lovelace!"));
    }

    void pastedTextInTheMiddleLeavesTheCaretBehindIt() {
        TextField field("User / Company Name");
        show(field);
        field.setText("()");
        field.setCursorPosition(1);
        paste(field, "a\r\nb");
        QTest::keyClicks(&field, "c");
        QCOMPARE(field.text(), QString("(a bc)"));
    }

    void aPasteOfNothingLeavesWhatIsSelected_data() {
        QTest::addColumn<QKeySequence>("keys");
        QTest::addRow("Ctrl+V") << QKeySequence(Qt::CTRL | Qt::Key_V);
        QTest::addRow("Shift+Insert") << QKeySequence(Qt::SHIFT | Qt::Key_Insert);
        QTest::addRow("Ctrl+Shift+Insert") << QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Insert);
        QTest::addRow("menu") << QKeySequence();
    }
    void aPasteOfNothingLeavesWhatIsSelected() {
        QFETCH(QKeySequence, keys);
        TextField field("E-Mail Address");
        show(field);
        field.setText("ada@example.org");
        field.selectAll();
        // The clipboard's owner ends while the menu is open.
        QApplication::clipboard()->setText("soon gone");
        QMenu *menu = nullptr;
        if (keys.isEmpty()) {
            QContextMenuEvent asked(QContextMenuEvent::Keyboard, QPoint(), QPoint());
            QApplication::sendEvent(&field, &asked);
            menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            QVERIFY(menu);
        }
        QApplication::clipboard()->clear();
        if (menu) {
            choose(menu, "Paste");
            QTRY_VERIFY(!QApplication::activePopupWidget());
        } else {
            QTest::keySequence(&field, keys);
        }
        QCOMPARE(field.text(), QString("ada@example.org"));
        QCOMPARE(field.selectedText(), QString("ada@example.org"));
    }

    void theMenuDoesWhatItSays() {
        TextField field("E-Mail Address");
        show(field);
        field.setText("ada@example.org");
        const auto choose = [&](const QString &text) {
            QContextMenuEvent asked(QContextMenuEvent::Keyboard, QPoint(), QPoint());
            QApplication::sendEvent(&field, &asked);
            TextFieldTest::choose(qobject_cast<QMenu *>(QApplication::activePopupWidget()), text);
            QTRY_VERIFY(!QApplication::activePopupWidget());
        };
        field.setSelection(0, 3);
        QApplication::clipboard()->setText("grace");
        choose("Paste");
        QTRY_COMPARE(field.text(), QString("grace@example.org"));
        choose("Undo");
        QTRY_COMPARE(field.text(), QString("ada@example.org"));
        choose("Redo");
        QTRY_COMPARE(field.text(), QString("grace@example.org"));
        choose("Select All");
        QTRY_COMPARE(field.selectedText(), QString("grace@example.org"));
        choose("Copy");
        QTRY_COMPARE(QApplication::clipboard()->text(), QString("grace@example.org"));
        field.setSelection(0, 5);
        choose("Cut");
        QTRY_COMPARE(field.text(), QString("@example.org"));
        QCOMPARE(QApplication::clipboard()->text(), QString("grace"));
        field.selectAll();
        choose("Delete");
        QTRY_COMPARE(field.text(), QString());
        QCOMPARE(QApplication::clipboard()->text(), QString("grace"));
    }

    void whatIsPastedIsUndoneByItself() {
        TextField field("E-Mail Address");
        show(field);
        QTest::keyClicks(&field, "ab");
        paste(field, "cd");
        QTest::keyClicks(&field, "ef");
        QCOMPARE(field.text(), QString("abcdef"));
        for (const QString &left : {QString("abcd"), QString("ab"), QString()}) {
            field.undo();
            QCOMPARE(field.text(), left);
        }
    }

    void nulIsLeftOutAndMarksStay() {
        TextField field("E-Mail Address");
        show(field);
        field.insert(QString::fromLatin1("a\0b", 3));
        QCOMPARE(field.text(), QString("ab"));
        const QString odd = QString::fromUtf8("\u202E\u200F\U0001F469\u200D\U0001F4BBe\u0301\u05D0");
        field.setText(odd);
        field.repaint();
        QCOMPARE(field.text(), odd);
    }

    void deletingTakesAWholeEmoji() {
        TextField field("E-Mail Address");
        show(field);
        field.setText(QString::fromUtf8("a\U0001F600"));
        field.end(false);
        QTest::keyClick(&field, Qt::Key_Backspace);
        QCOMPARE(field.text(), QString("a"));
    }

    void enterPressesNothing() {
        QWidget window;
        auto *column = new QVBoxLayout(&window);
        auto *field = new TextField("E-Mail Address");
        auto *button = new QPushButton("Press");
        column->addWidget(field);
        column->addWidget(button);
        bool wasPressed = false;
        connect(button, &QPushButton::clicked, [&] { wasPressed = true; });
        show(window);
        field->setFocus();
        QTest::keyClick(field, Qt::Key_Return);
        QTest::keyClick(field, Qt::Key_Enter);
        QCoreApplication::processEvents();
        QVERIFY(!wasPressed);
        QVERIFY(field->hasFocus());
    }

    void aScreenReaderKnowsItByItsPlaceholderAndCanFillIt() {
        TextField field("E-Mail Address");
        QAccessibleInterface *known = QAccessible::queryAccessibleInterface(&field);
        QCOMPARE(known->text(QAccessible::Name), QString("E-Mail Address"));
        QCOMPARE(known->role(), QAccessible::EditableText);
        known->setText(QAccessible::Value, "ada@example.org");
        QCOMPARE(field.text(), QString("ada@example.org"));
    }

    void itGrowsWithTheFont() {
        ApplicationLook look;
        QList<int> heights;
        for (const qreal points : {7.0, 18.0}) {
            look.setPointSize(points);
            TextField field("E-Mail Address");
            QVERIFY(field.sizeHint().height() >= field.fontMetrics().height() + 8);
            heights.append(field.sizeHint().height());
        }
        QCOMPARE(heights.first(), 28);
        QVERIFY(heights.last() > 28);
    }
};

TEST_CLASS(TextFieldTest, QApplication)
#include "TextFieldTest.moc"

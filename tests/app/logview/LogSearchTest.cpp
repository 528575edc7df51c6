#include "ApplicationLook.h"
#include "ConsoleFixture.h"
#include "CpuTime.h"
#include "FindBar.h"
#include "LogSearch.h"
#include "LogText.h"
#include "PlaceInLog.h"
#include "TestProgram.h"

#include <QAbstractEventDispatcher>
#include <QAccessible>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

using namespace ferrolt;
using namespace std::chrono_literals;

class LogSearchTest : public QObject {
    Q_OBJECT

    static FindBar &bar(ConsoleFixture &console) { return *console.view.findChild<FindBar *>(); }
    static QLineEdit &field(ConsoleFixture &console) { return *bar(console).findChild<QLineEdit *>(); }
    static QString result(ConsoleFixture &console) { return bar(console).findChild<QLabel *>()->text(); }
    static QWidget *button(ConsoleFixture &console, const QString &name) {
        for (QPushButton *each : bar(console).findChildren<QPushButton *>()) {
            if (QAccessible::queryAccessibleInterface(each)->text(QAccessible::Name) == name)
                return each;
        }
        return nullptr;
    }
    static QByteArray selectedText(ConsoleFixture &console) {
        QByteArray joined;
        for (const QByteArray &piece : LogText::pieces(console.log, console.area().selection().span()))
            joined += piece;
        return joined;
    }
    static void openBar(ConsoleFixture &console) {
        console.area().setFocus();
        QTest::keyClick(&console.area(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(bar(console).isVisible());
        QVERIFY(field(console).hasFocus());
    }

  private Q_SLOTS:
    void theBarTakesNoRoomUntilAskedFor() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        QVERIFY(!console.view.findChild<FindBar *>());
        const int height = console.area().height();
        openBar(console);
        QVERIFY(console.area().height() < height);
        QTest::keyClick(&field(console), Qt::Key_Escape);
        QVERIFY(!bar(console).isVisible());
        QTRY_COMPARE(console.area().height(), height);
        QVERIFY(console.area().hasFocus());
    }

    void escapeIsLeftToOthersWhileTheBarIsClosed() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        const auto isTaken = [&] {
            QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
            QCoreApplication::sendEvent(&console.view, &escape);
            return escape.isAccepted();
        };
        QVERIFY(!isTaken());
        openBar(console);
        QVERIFY(isTaken());
        QVERIFY(!bar(console).isVisible());
        QVERIFY(!isTaken());
    }

    void typingGoesToTheFirstHitAndEnterToTheNext() {
        ConsoleFixture console;
        console.appendLines(500);
        console.show();
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("LINE 12"));
        // 12, 120 to 129
        QTRY_COMPARE(result(console), QStringLiteral("1 of 11"));
        QCOMPARE(selectedText(console), "line 12");
        QCOMPARE(console.area().selection().span().begin.sequence, 12U);
        QTest::keyClick(&field(console), Qt::Key_Return);
        QTRY_COMPARE(result(console), QStringLiteral("2 of 11"));
        QCOMPARE(console.area().selection().span().begin.sequence, 120U);
        const QRectF hit = console.area().rectangleOf(console.area().selection().span().begin);
        QVERIFY(hit.top() > 0 && hit.bottom() < console.area().viewport()->height());
        QTest::keyClick(&field(console), Qt::Key_Return, Qt::ShiftModifier);
        QTRY_COMPARE(result(console), QStringLiteral("1 of 11"));
        QTest::keyClick(&field(console), Qt::Key_Return, Qt::ShiftModifier);
        QTRY_COMPARE(result(console), QStringLiteral("11 of 11"));
        QTest::keyClick(&field(console), Qt::Key_F3);
        QTRY_COMPARE(result(console), QStringLiteral("1 of 11"));
        QTest::keyClick(&field(console), Qt::Key_F3, Qt::ShiftModifier);
        QTRY_COMPARE(result(console), QStringLiteral("11 of 11"));
        QTest::mouseClick(button(console, "Find Next"), Qt::LeftButton);
        QTRY_COMPARE(result(console), QStringLiteral("1 of 11"));
    }

    void theHitGrowsWhileItIsTyped() {
        ConsoleFixture console;
        console.append("abc abd\n");
        console.append("abd\n");
        console.show();
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("ab"));
        QTRY_COMPARE(console.area().selection().span().begin, at(0, 0));
        QTest::keyClicks(&field(console), QStringLiteral("d"));
        QTRY_COMPARE(console.area().selection().span().begin, at(0, 4));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 2"));
    }

    void whatIsNotThereIsNotFound() {
        ConsoleFixture console;
        console.appendLines(5);
        console.show();
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("absent"));
        QTRY_COMPARE(result(console), QStringLiteral("Not found"));
        QTest::keyClick(&field(console), Qt::Key_Return);
        QTRY_COMPARE(result(console), QStringLiteral("Not found"));
        field(console).clear();
        QTRY_COMPARE(result(console), QString());
    }

    void whatWasAHitLosesItsColourWhenNothingIsFoundAnyMore() {
        ConsoleFixture console;
        console.append("plain MARK\n");
        console.show();
        const auto colourOfMark = [&] {
            const QPoint corner = console.area().rectangleOf(at(0, 6)).topLeft().toPoint();
            return console.area().viewport()->grab().toImage().pixelColor(corner + QPoint(0, 1));
        };
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("mark"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 1"));
        const QColor colourOfAHit = colourOfMark();
        QTest::keyClicks(&field(console), QStringLiteral("s"));
        QTRY_COMPARE(result(console), QStringLiteral("Not found"));
        QVERIFY(colourOfMark() != colourOfAHit);
    }

    void theNumbersKeepTheirOrderFromRightToLeft() {
        const auto picture = [](Qt::LayoutDirection direction) {
            const auto restore = qScopeGuard([] { QApplication::setLayoutDirection(Qt::LeftToRight); });
            QApplication::setLayoutDirection(direction);
            ConsoleFixture console;
            console.append("one hit and another hit\n");
            console.show();
            openBar(console);
            QTest::keyClicks(&field(console), QStringLiteral("hit"));
            [&] { QTRY_COMPARE(result(console), QStringLiteral("1 of 2")); }();
            auto *const label = bar(console).findChild<QLabel *>();
            // The layout makes room for the new text later, from the event loop.
            [&] { QTRY_COMPARE(label->width(), label->sizeHint().width()); }();
            // The width is rounded up: aligned to the other side the text would be off by a part of a pixel.
            label->setAlignment(Qt::AlignRight | Qt::AlignAbsolute | Qt::AlignVCenter);
            return label->grab().toImage();
        };
        QCOMPARE(picture(Qt::RightToLeft), picture(Qt::LeftToRight));
    }

    void hitsAreMarkedUntilTheBarCloses() {
        ConsoleFixture console;
        console.append("plain MARK plain MARK\n");
        console.show();
        const auto colourOf = [&](std::uint32_t offset) {
            const QRectF box = console.area().rectangleOf(at(0, offset));
            return console.area().viewport()->grab().toImage().pixelColor(box.topLeft().toPoint() +
                                                                          QPoint(0, 1));
        };
        const QColor plain = colourOf(0);
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("mark"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 2"));
        QCOMPARE(colourOf(0), plain);
        QVERIFY(colourOf(6) != plain);
        QVERIFY(colourOf(17) != plain);
        QVERIFY2(colourOf(6) != colourOf(17), "the hit at hand has a colour of its own");
        QTest::keyClick(&field(console), Qt::Key_Escape);
        QCOMPARE(colourOf(17), plain);
        QCOMPARE(selectedText(console), "MARK");
    }

    void whatArrivesIsFoundToo() {
        ConsoleFixture console;
        console.append("hit\n");
        console.show();
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("hit"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 1"));
        console.append("another hit\n");
        QTRY_COMPARE(result(console), QStringLiteral("1 of 2"));
    }

    void findTakesTheSelectedText() {
        ConsoleFixture console;
        console.append("one two\nTWO three\n");
        console.show();
        console.area().select({at(0, 4), at(0, 7)});
        openBar(console);
        QCOMPARE(field(console).text(), QStringLiteral("two"));
        QCOMPARE(field(console).selectedText(), QStringLiteral("two"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 2"));
        QCOMPARE(console.area().selection().span(), (LogSpan{at(0, 4), at(0, 7)}));
        // With the bar open, too.
        console.area().setFocus();
        console.area().select({at(0, 12), at(0, 17)});
        openBar(console);
        QCOMPARE(field(console).text(), QStringLiteral("three"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 1"));
    }

    void findTakesOneLineOfTheSelectionAndNotTooMuch() {
        ConsoleFixture console;
        console.append("one\n");
        console.append(QByteArray("\xc3\xa9").repeated(5000));
        console.show();
        console.area().selectAll();
        openBar(console);
        QCOMPARE(field(console).text(), QStringLiteral("one"));
        console.area().setFocus();
        console.area().select({at(1, 0), at(1, 10000)});
        openBar(console);
        QCOMPARE(field(console).text(), QString(QChar(0xE9)).repeated(1000));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 5"));
    }

    void withoutASelectionTheLastTextStays() {
        ConsoleFixture console;
        console.append("hit and miss\n");
        console.show();
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("hit"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 1"));
        QTest::keyClick(&field(console), Qt::Key_Escape);
        console.area().moveCaret(at(0, 0));
        openBar(console);
        QCOMPARE(field(console).text(), QStringLiteral("hit"));
        QCOMPARE(field(console).selectedText(), QStringLiteral("hit"));
        QTRY_COMPARE(result(console), QStringLiteral("1 found"));
    }

    void findInTheBarKeepsWhatIsTypedThere() {
        ConsoleFixture console;
        console.append("word other\n");
        console.show();
        console.area().select({at(0, 0), at(0, 4)});
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("absent"));
        QTRY_COMPARE(result(console), QStringLiteral("Not found"));
        QVERIFY(console.area().hasSelection());
        QTest::keyClick(&field(console), Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(field(console).text(), QStringLiteral("absent"));
    }

    void findNextGoesOnAfterTheBarWasClosed() {
        ConsoleFixture console;
        console.append("hit hit hit\n");
        console.show();
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("hit"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 3"));
        QTest::keyClick(&field(console), Qt::Key_Escape);
        console.press(Qt::Key_F3);
        QTRY_COMPARE(result(console), QStringLiteral("2 of 3"));
        QVERIFY(bar(console).isVisible());
        QVERIFY2(console.area().hasFocus(), "the keyboard stays in the log");
        QTest::keyClick(&console.area(), Qt::Key_Escape);
        QVERIFY(!bar(console).isVisible());
        console.press(Qt::Key_F3, Qt::ShiftModifier);
        QTRY_COMPARE(result(console), QStringLiteral("1 of 3"));
    }

    void findNextGoesOnInTheOtherConsole() {
        ConsoleFixture console;
        console.append("hit other hit\n");
        LogConsoleView second(QStringLiteral("Second"), console.log, QStringLiteral("secondBottom"),
                              console.clipboard, console.time);
        second.show();
        QVERIFY(QTest::qWaitForWindowExposed(&second));
        console.show();
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("other"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 1"));

        second.findNext();
        auto *const secondBar = second.findChild<FindBar *>();
        QVERIFY(secondBar && secondBar->isVisible());
        QCOMPARE(secondBar->text(), QStringLiteral("other"));
        QTRY_COMPARE(secondBar->findChild<QLabel *>()->text(), QStringLiteral("1 of 1"));
        secondBar->findChild<QLineEdit *>()->setText(QStringLiteral("hit"));

        // Its own text counts while the keyboard is in the bar.
        QVERIFY(field(console).hasFocus());
        QTest::keyClick(&field(console), Qt::Key_F3);
        QCOMPARE(field(console).text(), QStringLiteral("other"));
        console.area().setFocus();
        console.press(Qt::Key_F3);
        QCOMPARE(field(console).text(), QStringLiteral("hit"));
        QTRY_COMPARE(result(console), QStringLiteral("2 of 2"));
    }

    /// Each element begins a row, so the user sees such a hit in two rows.
    void aHitOverTwoElementsIsSelectedAndMarkedInBoth() {
        ConsoleFixture console;
        console.append("Hel");
        console.append("lo and Hel");
        console.append("lo\n");
        console.show();
        const auto colourOf = [&](LogPosition position) {
            const QRectF box = console.area().rectangleOf(position);
            return console.area().viewport()->grab().toImage().pixelColor(box.topLeft().toPoint() +
                                                                          QPoint(0, 1));
        };
        const QColor plain = colourOf(at(1, 4));
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("hello"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 2"));
        QCOMPARE(console.area().selection().span(), (LogSpan{at(0, 0), at(1, 2)}));
        QCOMPARE(selectedText(console), "Hello");
        const QColor current = colourOf(at(0, 0));
        const QColor other = colourOf(at(1, 7));
        QVERIFY(current != plain && other != plain && current != other);
        QCOMPARE(colourOf(at(1, 1)), current);
        QCOMPARE(colourOf(at(1, 4)), plain);
        QCOMPARE(colourOf(at(2, 1)), other);
        QTest::keyClick(&field(console), Qt::Key_Return);
        QTRY_COMPARE(result(console), QStringLiteral("2 of 2"));
        QCOMPARE(colourOf(at(2, 1)), current);
        QCOMPARE(colourOf(at(1, 1)), other);
        // Find takes it as one text.
        console.area().setFocus();
        openBar(console);
        QCOMPARE(field(console).text(), QStringLiteral("Hello"));
    }

    /// The bar takes away some of the log's height, and a hit may begin in the last row on screen.
    void theWholeHitIsOnScreenAfterTheBarHasCome() {
        for (int lines = 0; lines < 25; ++lines) {
            ConsoleFixture console;
            console.appendLines(lines, "some line");
            console.append("Hel");
            console.append("lo\n");
            console.appendLines(60, "later line");
            console.clipboard.setFindText(QStringLiteral("hello"));
            console.show();
            console.press(Qt::Key_F3);
            QTRY_COMPARE(result(console), QStringLiteral("1 of 1"));
            QCoreApplication::processEvents();
            const LogSpan hit = console.area().selection().span();
            QCOMPARE(selectedText(console), "Hello");
            QVERIFY(console.area().rectangleOf(hit.begin).top() >= 0);
            QVERIFY2(console.area().rectangleOf(hit.end).bottom() <= console.area().viewport()->height(),
                     qPrintable(QString::number(lines)));
        }
    }

    void theDoneButtonCloses() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        openBar(console);
        QTest::mouseClick(button(console, "Done"), Qt::LeftButton);
        QVERIFY(!bar(console).isVisible());
    }

    void theClearButtonEmptiesTheFieldAndHasAName() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("text"));
        auto *const clear = field(console).findChild<QAbstractButton *>();
        QVERIFY(clear);
        QCOMPARE(QAccessible::queryAccessibleInterface(clear)->text(QAccessible::Name),
                 QStringLiteral("Clear"));
        QTest::mouseClick(clear, Qt::LeftButton);
        QTRY_VERIFY(field(console).text().isEmpty());
        QVERIFY(field(console).hasFocus());
    }

    void theButtonsWorkWithTheKeyboard() {
        ConsoleFixture console;
        console.append("hit hit hit\n");
        console.show();
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("hit"));
        QTRY_COMPARE(result(console), QStringLiteral("1 of 3"));
        QTest::keyClick(button(console, "Find Previous"), Qt::Key_Space);
        QTRY_COMPARE(result(console), QStringLiteral("3 of 3"));
        QTest::keyClick(button(console, "Find Next"), Qt::Key_Return);
        QTRY_COMPARE(result(console), QStringLiteral("1 of 3"));
        QTest::keyClick(button(console, "Done"), Qt::Key_Enter);
        QVERIFY(!bar(console).isVisible());
    }

    void theBarFitsTheSmallestPanel_data() {
        QTest::addColumn<int>("points");
        for (const int points : {7, 10, 18})
            QTest::addRow("%d pt", points) << points;
    }
    void theBarFitsTheSmallestPanel() {
        QFETCH(int, points);
        ApplicationLook look;
        look.setPointSize(points);
        ConsoleFixture console;
        console.append("text\n");
        console.show({300, 150});
        openBar(console);
        QTest::keyClicks(&field(console), QStringLiteral("text"));
        QCOMPARE(console.view.size(), QSize(300, 150));
        for (const QWidget *child :
             bar(console).findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly))
            QVERIFY(child->geometry().right() < bar(console).width());
        for (const QPushButton *each : bar(console).findChildren<QPushButton *>()) {
            QVERIFY(each->width() >= each->sizeHint().width());
            QVERIFY(each->height() >= each->fontMetrics().height());
            QCOMPARE(each->height(), field(console).height());
        }
        QVERIFY(field(console).width() > 50);
        QVERIFY(console.area().height() > 30);
    }

    void aFullLogIsSearchedWithoutAFreeze() {
        ConsoleFixture console;
        const QByteArray line("a line of the log with nothing in it that anybody would look for\n");
        for (int i = 0; i < 1000; ++i)
            console.log.append(line.repeated(65536 / line.size()));
        console.append("needle in a haystack\n");
        console.show();
        openBar(console);
        double worst = 0;
        QElapsedTimer whole;
        whole.start();
        CpuTime clock;
        field(console).setText(QStringLiteral("NEEDLE"));
        worst = std::max(worst, static_cast<double>(clock.nanoseconds()) / 1e6);
        while (result(console) != QStringLiteral("1 of 1") && whole.elapsed() < 60000) {
            clock.start();
            QCoreApplication::processEvents();
            worst = std::max(worst, static_cast<double>(clock.nanoseconds()) / 1e6);
            QThread::usleep(200);
        }
        QCOMPARE(selectedText(console), "needle");
        qInfo("found in 64 MB after %lld ms, worst turn %.1f ms", static_cast<long long>(whole.elapsed()),
              worst);
        QVERIFY(worst < 500);
        // Then no timer runs.
        QTRY_COMPARE(result(console), QStringLiteral("1 of 1"));
        auto *const search = console.view.findChild<LogSearch *>();
        QTRY_VERIFY(QAbstractEventDispatcher::instance()->registeredTimers(search).isEmpty());
    }
};

TEST_CLASS(LogSearchTest, QApplication)
#include "LogSearchTest.moc"

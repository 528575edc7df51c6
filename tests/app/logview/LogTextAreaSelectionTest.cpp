#include "ApplicationLook.h"
#include "ConsoleFixture.h"
#include "LogText.h"
#include "PlaceInLog.h"
#include "TestProgram.h"
#include "Theme.h"

#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

using namespace ferrolt;

/// Selecting in a log with the mouse, the keys and the menu, and copying the selection.
class LogTextAreaSelectionTest : public QObject {
    Q_OBJECT

    static QPoint pointOf(ConsoleFixture &console, LogPosition position) {
        const QRectF box = console.area().rectangleOf(position);
        return QPointF(box.left() + 1, box.center().y()).toPoint();
    }
    static QByteArray selectedText(ConsoleFixture &console) {
        QByteArray joined;
        for (const QByteArray &piece : LogText::pieces(console.log, console.area().selection().span()))
            joined += piece;
        return joined;
    }
    static void drag(ConsoleFixture &console, QPoint from, QPoint to) {
        QWidget *const viewport = console.area().viewport();
        QTest::mousePress(viewport, Qt::LeftButton, {}, from);
        QTest::mouseMove(viewport, (from + to) / 2);
        QTest::mouseMove(viewport, to);
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, to);
    }
    /// Drags from the third element to a point below the window, by events of the window, as a real mouse
    /// does. Returns that point.
    static QPoint startDragBeyondTheEdge(ConsoleFixture &console) {
        QWindow *const window = console.view.windowHandle();
        const QPoint from = console.area().viewport()->mapTo(&console.view, pointOf(console, at(2, 0)));
        const QPoint below(from.x() + 50, console.view.height() + 40);
        QTest::mousePress(window, Qt::LeftButton, {}, from);
        QTest::mouseMove(window, below);
        return below;
    }

  private Q_SLOTS:
    void aSelectionWithoutTheKeyboardIsGrayAndReadable_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::addRow("light") << Theme::lightPalette();
        QTest::addRow("dark") << Theme::darkPalette();
        QPalette faint = Theme::lightPalette();
        faint.setColor(QPalette::Text, QColor(0x76, 0x76, 0x76));
        QTest::addRow("faint text") << faint;
        QPalette darkView = Theme::lightPalette();
        darkView.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
        darkView.setColor(QPalette::Text, QColor(0xe0, 0xe0, 0xe0));
        QTest::addRow("a dark view in a light window") << darkView;
        QPalette own = Theme::lightPalette();
        own.setColor(QPalette::Inactive, QPalette::Highlight, QColor(0x30, 0x60, 0x30));
        QTest::addRow("a colour of the desktop's own") << own;
        QPalette unreadable = own;
        unreadable.setColor(QPalette::Inactive, QPalette::HighlightedText, QColor(0x40, 0x70, 0x40));
        QTest::addRow("an unreadable one") << unreadable;
    }
    void aSelectionWithoutTheKeyboardIsGrayAndReadable() {
        QFETCH(QPalette, palette);
        const bool isOwn = QByteArray(QTest::currentDataTag()).startsWith("a colour");
        ApplicationLook look;
        look.setPixelSize(20);  // has letters with strokes of a pixel and more
        look.setPalette(palette);
        ConsoleFixture console;
        console.append("MMMM MMMM hit\n");
        console.show();
        console.area().setFocus();
        console.area().select({at(0, 0), at(0, 9)});
        const auto colours = [&] {
            const QRectF box = console.area().rectangleOf(at(0, 0));
            const QImage image = console.area().viewport()->grab().toImage();
            const QColor ground = image.pixelColor(box.topLeft().toPoint());
            double contrast = 1;
            for (int y = 0; y < box.height(); ++y)
                for (int x = 0; x < 2 * box.width(); ++x)
                    contrast = std::max(
                        contrast,
                        Theme::contrast(ground, image.pixelColor(box.topLeft().toPoint() + QPoint(x, y))));
            return std::pair(ground, contrast);
        };
        const auto [active, activeContrast] = colours();
        QCOMPARE(active, palette.color(QPalette::Active, QPalette::Highlight));
        QVERIFY(activeContrast >= 3);

        QTest::keyClick(&console.area(), Qt::Key_F, Qt::ControlModifier);
        auto *const field = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        QVERIFY(field);
        // The selection is the current hit, in that one's colour, until another text is searched for.
        const auto [hit, hitContrast] = colours();
        QTest::keyClicks(field, QStringLiteral("hit"));
        QTRY_COMPARE(console.area().selection().span().begin, at(0, 10));
        console.area().select({at(0, 0), at(0, 9)});
        const QColor marked = console.area().viewport()->grab().toImage().pixelColor(
            console.area().rectangleOf(at(0, 10)).topLeft().toPoint());
        const auto [inactive, inactiveContrast] = colours();
        QVERIFY2(inactiveContrast >= 3, qPrintable(QString::number(inactiveContrast)));
        const QColor background = Theme::textBackground(palette);
        for (const QColor &other : {active, hit, marked, background})
            QVERIFY2(inactive != other, qPrintable(other.name()));
        QVERIFY(Theme::contrast(inactive, background) >= 1.3);
        QCOMPARE(inactive == palette.color(QPalette::Inactive, QPalette::Highlight), isOwn);
        if (!isOwn)
            QVERIFY2(inactive.saturation() < 20, qPrintable(inactive.name()));

        console.area().setFocus();
        QCOMPARE(colours().first, active);
    }

    void aDragSelectsAcrossElements() {
        ConsoleFixture console;
        console.append("first line\n");
        console.append("second line\nthird line\n");
        console.show();
        drag(console, pointOf(console, at(0, 6)), pointOf(console, at(1, 18)));
        QCOMPARE(selectedText(console), "line\nsecond line\nthird ");
        QCOMPARE(console.clipboard.selection, "line\nsecond line\nthird ");
        console.press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(console.clipboard.calls, (std::vector<std::string>{"clear", "set"}));
        QCOMPARE(console.clipboard.text, "line\nsecond line\nthird ");
        // Upwards as well.
        drag(console, pointOf(console, at(1, 6)), pointOf(console, at(0, 2)));
        QCOMPARE(selectedText(console), "rst line\nsecond");
        // A click ends the selection.
        QTest::mouseClick(console.area().viewport(), Qt::LeftButton, {}, pointOf(console, at(0, 2)));
        QVERIFY(!console.area().hasSelection());
    }

    void nothingIsCopiedWhenNothingIsSelected() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        console.press(Qt::Key_C, Qt::ControlModifier);
        QVERIFY(console.clipboard.calls.empty());
    }

    /// On screen the end of an element and the beginning of the next are two places, in the text they are
    /// one.
    void fromTheEndOfAnElementToTheBeginningOfTheNextNothingIsSelected() {
        ConsoleFixture console;
        console.append("first");
        console.append("second");
        console.show();
        QWidget *const viewport = console.area().viewport();
        const QPoint behindFirst(viewport->width() - 30, pointOf(console, at(0, 0)).y());
        for (const bool isBackward : {false, true}) {
            const QPoint from = isBackward ? pointOf(console, at(1, 0)) : behindFirst;
            const QPoint to = isBackward ? behindFirst : pointOf(console, at(1, 0));
            drag(console, from, to);
            QVERIFY(!console.area().hasSelection());
            console.press(Qt::Key_C, Qt::ControlModifier);
            QVERIFY(console.clipboard.calls.empty());
            QVERIFY(console.clipboard.selection.isEmpty());
        }
        // From there it grows by text.
        console.press(Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "t");
    }

    void aDoubleClickSelectsAWordAndATripleClickALine() {
        ConsoleFixture console;
        console.append("port 9877 is open\nnext\n");
        console.show();
        QWidget *const viewport = console.area().viewport();
        const QPoint point = pointOf(console, at(0, 6));
        QTest::mouseDClick(viewport, Qt::LeftButton, {}, point);
        QCOMPARE(selectedText(console), "9877");
        QTest::mousePress(viewport, Qt::LeftButton, {}, point);
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, point);
        QCOMPARE(selectedText(console), "port 9877 is open\n");
    }

    void aDragAfterADoubleClickSelectsWords() {
        ConsoleFixture console;
        console.append("alpha beta gamma delta\n");
        console.show();
        QWidget *const viewport = console.area().viewport();
        const QPoint point = pointOf(console, at(0, 7));
        QTest::mousePress(viewport, Qt::LeftButton, {}, point);
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, point);
        QMouseEvent second(QEvent::MouseButtonDblClick, point, viewport->mapToGlobal(QPointF(point)),
                           Qt::LeftButton, Qt::LeftButton, {});
        QCoreApplication::sendEvent(viewport, &second);
        const QPoint end = pointOf(console, at(0, 13));
        QMouseEvent move(QEvent::MouseMove, end, viewport->mapToGlobal(QPointF(end)), Qt::NoButton,
                         Qt::LeftButton, {});
        QCoreApplication::sendEvent(viewport, &move);
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, end);
        QCOMPARE(selectedText(console), "beta gamma");
    }

    void shiftAndAClickExtendTheSelection() {
        ConsoleFixture console;
        console.append("0123456789\n");
        console.show();
        QTest::mouseClick(console.area().viewport(), Qt::LeftButton, {}, pointOf(console, at(0, 2)));
        QTest::mouseClick(console.area().viewport(), Qt::LeftButton, Qt::ShiftModifier,
                          pointOf(console, at(0, 7)));
        QCOMPARE(selectedText(console), "23456");
    }

    void aDragBeyondTheEdgeScrolls() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        const QPoint below = startDragBeyondTheEdge(console);
        QTRY_VERIFY(console.scrolled() > 300);
        QTest::mouseRelease(console.view.windowHandle(), Qt::LeftButton, {}, below);
        QVERIFY(selectedText(console).startsWith("line 2\nline 3\n"));
        QVERIFY(selectedText(console).count('\n') > 20);
        // The scrolling has ended with the drag.
        QCOMPARE(console.runningTimers(), 0);
    }

    /// The area does not get the button's release then.
    void anAlertInTheMiddleOfADragEndsIt() {
        ConsoleFixture console;
        console.appendLines(1000);
        console.show();
        const QPoint below = startDragBeyondTheEdge(console);
        QTRY_VERIFY(console.scrolled() > 300);
        QMessageBox alert;
        alert.setWindowModality(Qt::ApplicationModal);
        alert.show();
        QVERIFY(QTest::qWaitForWindowExposed(&alert));
        QCOMPARE(console.runningTimers(), 0);
        const QByteArray text = selectedText(console);
        QVERIFY(text.count('\n') > 20);
        QCOMPARE(console.clipboard.selection, text);
        QTest::mouseRelease(console.view.windowHandle(), Qt::LeftButton, {}, below);
        alert.hide();
        QTest::mouseMove(console.view.windowHandle(), QPoint(200, 200));
        QCoreApplication::processEvents();
        QCOMPARE(selectedText(console), text);
    }

    /// A menu got the release; unlike an alert it does not block the window.
    void aReleaseThatWentElsewhereEndsADrag() {
        ConsoleFixture console;
        console.appendLines(1000);
        console.show();
        const QPoint below = startDragBeyondTheEdge(console);
        QTRY_VERIFY(console.scrolled() > 300);
        QMenu menu;
        menu.addAction("Anything");
        menu.popup(QPoint(900, 900));
        QTest::mouseRelease(console.view.windowHandle(), Qt::LeftButton, {}, below);
        QTRY_COMPARE(console.runningTimers(), 0);
        menu.close();
        const QByteArray text = selectedText(console);
        QTest::mouseMove(console.view.windowHandle(), QPoint(200, 200));
        QCoreApplication::processEvents();
        QCOMPARE(selectedText(console), text);
    }

    void everythingIsSelectedByControlA() {
        ConsoleFixture console;
        console.append("one\n");
        console.append("two");
        console.append("three\n");
        console.show();
        console.press(Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(selectedText(console), "one\ntwothree\n");
        console.press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(console.clipboard.text, "one\ntwothree\n");
    }

    void theSelectionStaysOnItsTextWhileElementsDropOffTheTop() {
        ConsoleFixture console;
        console.appendLines(1000);
        console.show();
        console.area().verticalScrollBar()->setValue(5000);
        const LogPosition from = *console.area().topOfView();
        drag(console, pointOf(console, at(from.sequence + 2, 0)), pointOf(console, at(from.sequence + 4, 0)));
        const QByteArray text = selectedText(console);
        QVERIFY(text.count('\n') == 2);
        const qreal y = console.area().rectangleOf(console.area().selection().span().begin).top();
        for (int i = 0; i < 10; ++i)
            console.appendAndWait("pushes the oldest out\n");
        QCOMPARE(selectedText(console), text);
        QCOMPARE(console.area().rectangleOf(console.area().selection().span().begin).top(), y);
        // What drops off is no longer selected; what is left still is.
        console.appendLines(static_cast<int>(from.sequence + 3 - console.log.firstSequence()));
        QSignalSpy refreshed(&console.area(), &LogTextArea::refreshed);
        QVERIFY(refreshed.wait());
        QCOMPARE(selectedText(console), "line " + QByteArray::number(from.sequence + 3) + '\n');
        console.appendLines(5);
        QVERIFY(refreshed.wait());
        QVERIFY(!console.area().hasSelection());
    }

    void shiftAndTheArrowsSelectAcrossElements() {
        ConsoleFixture console;
        console.append("ab\n");
        console.append("\xe6\xbc\xa2x\n");
        console.append("last\n");
        console.show();
        console.area().setFocus();
        for (int i = 0; i < 4; ++i)
            console.press(Qt::Key_Right, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n\xe6\xbc\xa2");
        console.press(Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n");
        console.press(Qt::Key_Down, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n\xe6\xbc\xa2x\n");
        console.press(Qt::Key_End, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n\xe6\xbc\xa2x\nlast");
        console.press(Qt::Key_Up, Qt::ShiftModifier);
        console.press(Qt::Key_Home, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n");
        console.press(Qt::Key_End, Qt::ShiftModifier | Qt::ControlModifier);
        QCOMPARE(selectedText(console), "ab\n\xe6\xbc\xa2x\nlast\n");
        console.press(Qt::Key_Right);
        QVERIFY(!console.area().hasSelection());
    }

    void shiftAndPageDownSelectAPage() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        console.press(Qt::Key_PageDown, Qt::ShiftModifier);
        const auto rows = selectedText(console).count('\n');
        QVERIFY(rows > 5);
        console.press(Qt::Key_PageDown, Qt::ShiftModifier);
        QVERIFY(selectedText(console).count('\n') == 2 * rows);
        QVERIFY(console.scrolled() > 0);
        console.press(Qt::Key_PageUp, Qt::ShiftModifier);
        QCOMPARE(selectedText(console).count('\n'), rows);
    }

    void theContextMenuCopiesAndSelectsAll() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        const auto openMenu = [&]() -> QMenu * {
            const QPoint point(30, 30);
            QContextMenuEvent event(QContextMenuEvent::Mouse, point,
                                    console.area().viewport()->mapToGlobal(point));
            QCoreApplication::sendEvent(console.area().viewport(), &event);
            return qobject_cast<QMenu *>(QApplication::activePopupWidget());
        };
        const auto action = [](QMenu *menu, const char16_t *text) -> QAction * {
            for (QAction *candidate : menu->actions())
                if (candidate->text().remove(u'&') == QStringView(text))
                    return candidate;
            return nullptr;
        };
        QMenu *menu = openMenu();
        QVERIFY(menu);
        QVERIFY(!action(menu, u"Copy")->isEnabled());
        QTest::mouseClick(menu, Qt::LeftButton, {},
                          menu->actionGeometry(action(menu, u"Select All")).center());
        QCOMPARE(selectedText(console), "text\n");
        QTRY_VERIFY(!QApplication::activePopupWidget());
        menu = openMenu();
        QVERIFY(action(menu, u"Copy")->isEnabled());
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action(menu, u"Copy")).center());
        QCOMPARE(console.clipboard.text, "text\n");
    }
};

TEST_CLASS(LogTextAreaSelectionTest, QApplication)
#include "LogTextAreaSelectionTest.moc"

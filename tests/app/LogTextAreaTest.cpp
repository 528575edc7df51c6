#include "ConsoleFixture.h"
#include "LogText.h"

#include <QAbstractEventDispatcher>
#include <QMenu>
#include <QMessageBox>
#include <QProxyStyle>
#include <QScrollBar>
#include <QSignalSpy>
#include <QtTest>

using namespace ferrolt;

namespace {

LogPosition at(std::uint64_t sequence, std::uint32_t offset) {
    return {sequence, ByteOffset{offset}};
}

}  // namespace

class LogTextAreaTest : public QObject {
    Q_OBJECT

    static int value(ConsoleFixture &console) { return console.area().verticalScrollBar()->value(); }
    static bool markerIsAtTheBottomEdge(ConsoleFixture &console) {
        const QWidget &marker = console.marker();
        return marker.y() + marker.height() == console.area().viewport()->height();
    }
    static void settle(ConsoleFixture &console) { QTRY_VERIFY(!console.area().isFollowing()); }
    /// Waits until the area has taken over what was appended.
    static void appendAndWait(ConsoleFixture &console, const QByteArray &element) {
        QSignalSpy refreshed(&console.area(), &LogTextArea::refreshed);
        console.append(element);
        QVERIFY(refreshed.wait());
    }
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
    /// As a mouse does it, by the window: from the third element to a place below the window, which is
    /// returned.
    static QPoint startDragBeyondTheEdge(ConsoleFixture &console) {
        QWindow *const window = console.view.windowHandle();
        const QPoint from = console.area().viewport()->mapTo(&console.view, pointOf(console, at(2, 0)));
        const QPoint below(from.x() + 50, console.view.height() + 40);
        QTest::mousePress(window, Qt::LeftButton, {}, from);
        QTest::mouseMove(window, below);
        return below;
    }
    static void key(ConsoleFixture &console, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(&console.area(), key, modifiers);
    }

  private Q_SLOTS:
    void thereIsNoScrollWhenTheViewFirstAppears() {
        ConsoleFixture console;
        console.appendLines(200);
        console.show();
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(value(console), 0);
        QVERIFY(console.area().verticalScrollBar()->maximum() > 0);
    }

    void aNewEntryScrollsToTheMarkerWithAMovement() {
        ConsoleFixture console;
        console.appendLines(200);
        console.show();
        QList<int> values;
        connect(console.area().verticalScrollBar(), &QScrollBar::valueChanged, this,
                [&](int v) { values.append(v); });
        console.append("new\n");
        QTRY_VERIFY(console.area().isFollowing());
        settle(console);
        QVERIFY(markerIsAtTheBottomEdge(console));
        QVERIFY2(values.size() > 3, "the movement is animated");
        QVERIFY(std::is_sorted(values.begin(), values.end()));
        disconnect(console.area().verticalScrollBar(), nullptr, this, nullptr);
    }

    void onADesktopWithoutAnimationsANewEntryIsThereAtOnce() {
        class Still : public QProxyStyle {
            int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                          QStyleHintReturn *data) const override {
                return hint == SH_Widget_Animation_Duration
                           ? 0
                           : QProxyStyle::styleHint(hint, option, widget, data);
            }
        } still;
        ConsoleFixture console;
        console.area().setStyle(&still);
        console.appendLines(200);
        console.show();
        QVERIFY(value(console) == 0);
        appendAndWait(console, "new\n");
        QVERIFY(!console.area().isFollowing());
        QVERIFY(markerIsAtTheBottomEdge(console));
    }

    void aNewEntryMovesTheViewDownEvenIfTheUserHadScrolledUp() {
        ConsoleFixture console;
        console.appendLines(200);
        console.show();
        appendAndWait(console, "new\n");
        settle(console);
        const int end = value(console);
        QTest::keyClick(&console.area(), Qt::Key_PageUp);
        QTest::keyClick(&console.area(), Qt::Key_PageUp);
        QVERIFY(value(console) < end);
        appendAndWait(console, "newer\n");
        settle(console);
        QVERIFY(value(console) > end);
        QVERIFY(markerIsAtTheBottomEdge(console));
    }

    void atTheCapNothingScrolls() {
        ConsoleFixture console;
        console.appendLines(1000);
        console.show();
        appendAndWait(console, "one more\n");
        QCOMPARE(console.log.size(), 1000U);
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(value(console), 0);

        // Nor does it for somebody who reads in the middle: the text stays where it is.
        console.area().verticalScrollBar()->setValue(5000);
        const LogPosition top = *console.area().topOfView();
        const qreal y = console.area().rectangleOf(top).top();
        for (int i = 0; i < 5; ++i)
            appendAndWait(console, "another\nof two lines\n");
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(console.area().rectangleOf(top).top(), y);

        // At the end the offset stays, and entries pass by under it.
        key(console, Qt::Key_End);
        const int end = value(console);
        appendAndWait(console, "tall\nand\ntaller\nthan\nany\n");
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(value(console), end);
        appendAndWait(console, "again\n");
        QCOMPARE(value(console), end);
    }

    void theNumberReachingTheCapStillScrolls() {
        ConsoleFixture console;
        console.appendLines(998);
        console.show();
        console.appendLines(5);
        QTRY_VERIFY(console.area().isFollowing());
        settle(console);
        QVERIFY(markerIsAtTheBottomEdge(console));
    }

    void whatArrivesOnTheWayMovesTheTarget() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        for (int i = 0; i < 12; ++i)
            appendAndWait(console, "arrives on the way\n");
        QVERIFY(console.area().isFollowing());
        settle(console);
        QVERIFY(markerIsAtTheBottomEdge(console));
    }

    void theUserStopsTheMovementByScrolling() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        appendAndWait(console, "new\n");
        QVERIFY(console.area().isFollowing());
        key(console, Qt::Key_Home);
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(value(console), 0);
    }

    void whatChangedWhileHiddenIsCaughtUpWithAtOnce() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        QSignalSpy refreshed(&console.area(), &LogTextArea::refreshed);
        console.view.hide();
        console.appendLines(300);
        QCoreApplication::processEvents();
        QCOMPARE(refreshed.size(), 0);
        console.view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&console.view));
        QVERIFY(!console.area().isFollowing());
        QVERIFY(markerIsAtTheBottomEdge(console));
    }

    void aViewThatIsShownAgainWithoutChangesIsWhereItWas() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        console.area().verticalScrollBar()->setValue(1234);
        console.view.hide();
        console.view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&console.view));
        QCOMPARE(value(console), 1234);
    }

    void manyChangesAreOneRefresh() {
        ConsoleFixture console;
        console.show();
        QSignalSpy refreshed(&console.area(), &LogTextArea::refreshed);
        console.appendLines(500);
        QVERIFY(refreshed.wait());
        QCOMPARE(refreshed.size(), 1);
        QVERIFY(console.area().rectangleOf(at(499, 0)).isValid());
    }

    void thereIsNoBlankFrameWhileTheLogRunsAway() {
        ConsoleFixture console;
        console.appendLines(1000);
        console.show();
        const auto hasInk = [&] {
            const QImage image = console.area().viewport()->grab().toImage();
            const QRgb background = image.pixel(0, 0);
            for (int y = 16; y < image.height(); ++y)
                for (int x = 16; x < 100; ++x)
                    if (image.pixel(x, y) != background)
                        return true;
            return false;
        };
        QVERIFY(hasInk());
        // All that was on screen is gone, and no refresh has come since.
        console.appendLines(1000, "newer");
        QVERIFY(hasInk());
        console.appendLines(1000, "newest");
        console.view.resize(420, 280);
        QVERIFY(hasInk());
        console.appendLines(1000, "last");
        QTest::keyClick(&console.area(), Qt::Key_PageDown);
        QVERIFY(hasInk());
    }

    void nothingTicksWhenNothingChanges() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        appendAndWait(console, "new\n");
        settle(console);
        const auto timers = [&] {
            qsizetype found = QAbstractEventDispatcher::instance()->registeredTimers(&console.area()).size();
            for (QObject *child : console.view.findChildren<QObject *>())
                found += QAbstractEventDispatcher::instance()->registeredTimers(child).size();
            return found;
        };
        QTRY_COMPARE(timers(), 0);
        console.view.hide();
        console.appendLines(10);
        QCOMPARE(timers(), 0);
    }

    void aDragSelectsAcrossElements() {
        ConsoleFixture console;
        console.append("first line\n");
        console.append("second line\nthird line\n");
        console.show();
        drag(console, pointOf(console, at(0, 6)), pointOf(console, at(1, 18)));
        QCOMPARE(selectedText(console), "line\nsecond line\nthird ");
        QCOMPARE(console.clipboard.selection, "line\nsecond line\nthird ");
        key(console, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(console.clipboard.calls, (std::vector<std::string>{"clear", "set"}));
        QCOMPARE(console.clipboard.text, "line\nsecond line\nthird ");
        // Upwards as well.
        drag(console, pointOf(console, at(1, 6)), pointOf(console, at(0, 2)));
        QCOMPARE(selectedText(console), "rst line\nsecond");
        // A click selects nothing any more.
        QTest::mouseClick(console.area().viewport(), Qt::LeftButton, {}, pointOf(console, at(0, 2)));
        QVERIFY(!console.area().hasSelection());
    }

    void nothingIsCopiedWhenNothingIsSelected() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        key(console, Qt::Key_C, Qt::ControlModifier);
        QVERIFY(console.clipboard.calls.empty());
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
        QTRY_VERIFY(value(console) > 300);
        QTest::mouseRelease(console.view.windowHandle(), Qt::LeftButton, {}, below);
        QVERIFY(selectedText(console).startsWith("line 2\nline 3\n"));
        QVERIFY(selectedText(console).count('\n') > 20);
        // The scrolling has ended with the drag.
        QVERIFY(QAbstractEventDispatcher::instance()->registeredTimers(&console.area()).isEmpty());
    }

    /// The alert takes the button's release with it.
    void anAlertInTheMiddleOfADragEndsIt() {
        ConsoleFixture console;
        console.appendLines(1000);
        console.show();
        const QPoint below = startDragBeyondTheEdge(console);
        QTRY_VERIFY(value(console) > 300);
        QMessageBox alert;
        alert.setWindowModality(Qt::ApplicationModal);
        alert.show();
        QVERIFY(QTest::qWaitForWindowExposed(&alert));
        QVERIFY(QAbstractEventDispatcher::instance()->registeredTimers(&console.area()).isEmpty());
        const QByteArray text = selectedText(console);
        QVERIFY(text.count('\n') > 20);
        QCOMPARE(console.clipboard.selection, text);
        QTest::mouseRelease(console.view.windowHandle(), Qt::LeftButton, {}, below);
        alert.hide();
        QTest::mouseMove(console.view.windowHandle(), QPoint(200, 200));
        QCoreApplication::processEvents();
        QCOMPARE(selectedText(console), text);
    }

    /// A menu, which is no alert, had it.
    void aReleaseThatWentElsewhereEndsADrag() {
        ConsoleFixture console;
        console.appendLines(1000);
        console.show();
        const QPoint below = startDragBeyondTheEdge(console);
        QTRY_VERIFY(value(console) > 300);
        QMenu menu;
        menu.addAction("Anything");
        menu.popup(QPoint(900, 900));
        QTest::mouseRelease(console.view.windowHandle(), Qt::LeftButton, {}, below);
        QTRY_VERIFY(QAbstractEventDispatcher::instance()->registeredTimers(&console.area()).isEmpty());
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
        key(console, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(selectedText(console), "one\ntwothree\n");
        key(console, Qt::Key_C, Qt::ControlModifier);
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
            appendAndWait(console, "pushes the oldest out\n");
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
            key(console, Qt::Key_Right, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n\xe6\xbc\xa2");
        key(console, Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n");
        key(console, Qt::Key_Down, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n\xe6\xbc\xa2x\n");
        key(console, Qt::Key_End, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n\xe6\xbc\xa2x\nlast");
        key(console, Qt::Key_Up, Qt::ShiftModifier);
        key(console, Qt::Key_Home, Qt::ShiftModifier);
        QCOMPARE(selectedText(console), "ab\n");
        key(console, Qt::Key_End, Qt::ShiftModifier | Qt::ControlModifier);
        QCOMPARE(selectedText(console), "ab\n\xe6\xbc\xa2x\nlast\n");
        key(console, Qt::Key_Right);
        QVERIFY(!console.area().hasSelection());
    }

    void shiftAndPageDownSelectAPage() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        key(console, Qt::Key_PageDown, Qt::ShiftModifier);
        const auto rows = selectedText(console).count('\n');
        QVERIFY(rows > 5);
        key(console, Qt::Key_PageDown, Qt::ShiftModifier);
        QVERIFY(selectedText(console).count('\n') == 2 * rows);
        QVERIFY(value(console) > 0);
        key(console, Qt::Key_PageUp, Qt::ShiftModifier);
        QCOMPARE(selectedText(console).count('\n'), rows);
    }

    void theArrowsMoveTheCaretFromWhatIsOnScreen() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        console.area().verticalScrollBar()->setValue(2000);
        const LogPosition top = *console.area().topOfView();
        key(console, Qt::Key_Down);
        QCOMPARE(console.area().selection().caret().sequence, top.sequence + 1);
        for (int i = 0; i < 40; ++i)
            key(console, Qt::Key_Down);
        QCOMPARE(console.area().selection().caret().sequence, top.sequence + 41);
        const QRectF caret = console.area().rectangleOf(console.area().selection().caret());
        QVERIFY(caret.top() >= 0 && caret.bottom() <= console.area().viewport()->height());
    }

    void pageAndHomeAndEndScroll() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        QScrollBar &bar = *console.area().verticalScrollBar();
        key(console, Qt::Key_End);
        QCOMPARE(bar.value(), bar.maximum());
        key(console, Qt::Key_PageUp);
        QVERIFY(bar.value() < bar.maximum() - 100);
        key(console, Qt::Key_PageDown);
        QCOMPARE(bar.value(), bar.maximum());
        key(console, Qt::Key_Home);
        QCOMPARE(bar.value(), 0);
        QVERIFY(!console.area().hasSelection());
    }

    void keysInAnEmptyLogDoNothing() {
        ConsoleFixture console;
        console.show();
        for (const Qt::Key k : {Qt::Key_Home, Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Up,
                                Qt::Key_Down, Qt::Key_Left, Qt::Key_Right, Qt::Key_A, Qt::Key_C}) {
            key(console, k);
            key(console, k, Qt::ShiftModifier);
            key(console, k, Qt::ControlModifier);
        }
        QTest::mouseClick(console.area().viewport(), Qt::LeftButton);
        QTest::mouseDClick(console.area().viewport(), Qt::LeftButton);
        QVERIFY(!console.area().hasSelection());
        QVERIFY(console.clipboard.calls.empty());
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

    void theWheelScrolls() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        const QPointF point(50, 50);
        QWheelEvent event(point, console.area().viewport()->mapToGlobal(point), {}, {0, -240}, Qt::NoButton,
                          {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(console.area().viewport(), &event);
        QVERIFY(value(console) > 0);
    }

    void theFrameOfTheKeyboardsFocusIsSeen() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        const auto edge = [&] { return console.area().viewport()->grab().toImage().pixelColor(0, 60); };
        console.copyButton().setFocus(Qt::MouseFocusReason);
        const QColor without = edge();
        QTest::keyClick(&console.view, Qt::Key_Tab);
        console.area().setFocus(Qt::TabFocusReason);
        QVERIFY(edge() != without);
    }
};

QTEST_MAIN(LogTextAreaTest)
#include "LogTextAreaTest.moc"

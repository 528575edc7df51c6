#include "ConsoleFixture.h"
#include "ManualAnimations.h"
#include "PlaceInLog.h"
#include "TestProgram.h"

#include <QProxyStyle>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

using namespace ferrolt;

class LogTextAreaTest : public QObject {
    Q_OBJECT

    static bool markerIsAtTheBottomEdge(ConsoleFixture &console) {
        const QWidget &marker = console.marker();
        return marker.y() + marker.height() == console.area().viewport()->height();
    }
    static void settle(ConsoleFixture &console) { QTRY_VERIFY(!console.area().isFollowing()); }

  private Q_SLOTS:
    void thereIsNoScrollWhenTheViewFirstAppears() {
        ConsoleFixture console;
        console.appendLines(200);
        console.show();
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(console.scrolled(), 0);
        QVERIFY(console.area().verticalScrollBar()->maximum() > 0);
    }

    void aNewEntryScrollsToTheMarkerWithAMovement() {
        ConsoleFixture console;
        console.appendLines(200);
        console.show();
        QList<int> values;
        connect(console.area().verticalScrollBar(), &QScrollBar::valueChanged, this,
                [&](int v) { values.append(v); });
        ManualAnimations animations;
        console.append("new\n");
        QTRY_VERIFY(console.area().isFollowing());
        for (int i = 0; i < 10; ++i)
            animations.advanceBy(30);
        QVERIFY(!console.area().isFollowing());
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
        QVERIFY(console.scrolled() == 0);
        console.appendAndWait("new\n");
        QVERIFY(!console.area().isFollowing());
        QVERIFY(markerIsAtTheBottomEdge(console));
    }

    void aNewEntryMovesTheViewDownEvenIfTheUserHadScrolledUp() {
        ConsoleFixture console;
        console.appendLines(200);
        console.show();
        console.appendAndWait("new\n");
        settle(console);
        const int end = console.scrolled();
        QTest::keyClick(&console.area(), Qt::Key_PageUp);
        QTest::keyClick(&console.area(), Qt::Key_PageUp);
        QVERIFY(console.scrolled() < end);
        console.appendAndWait("newer\n");
        settle(console);
        QVERIFY(console.scrolled() > end);
        QVERIFY(markerIsAtTheBottomEdge(console));
    }

    void atTheCapNothingScrolls() {
        ConsoleFixture console;
        console.appendLines(1000);
        console.show();
        console.appendAndWait("one more\n");
        QCOMPARE(console.log.size(), 1000U);
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(console.scrolled(), 0);

        // Nor in the middle of the log: the text on screen stays where it is.
        console.area().verticalScrollBar()->setValue(5000);
        const LogPosition top = *console.area().topOfView();
        const qreal y = console.area().rectangleOf(top).top();
        for (int i = 0; i < 5; ++i)
            console.appendAndWait("another\nof two lines\n");
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(console.area().rectangleOf(top).top(), y);

        // At the end the offset stays, and entries pass through the view.
        console.press(Qt::Key_End);
        const int end = console.scrolled();
        console.appendAndWait("tall\nand\ntaller\nthan\nany\n");
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(console.scrolled(), end);
        console.appendAndWait("again\n");
        QCOMPARE(console.scrolled(), end);
    }

    void theNumberReachingTheCapStillScrolls() {
        ConsoleFixture console;
        console.appendLines(998);
        console.show();
        ManualAnimations animations;
        console.appendLines(5);
        QTRY_VERIFY(console.area().isFollowing());
        animations.advanceBy(300);
        QVERIFY(!console.area().isFollowing());
        QVERIFY(markerIsAtTheBottomEdge(console));
    }

    void whatArrivesOnTheWayMovesTheTarget() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        ManualAnimations animations;
        for (int i = 0; i < 12; ++i) {
            console.appendAndWait("arrives on the way\n");
            animations.advanceBy(64);
        }
        QVERIFY(console.area().isFollowing());
        animations.advanceBy(300 - 64);
        QVERIFY(!console.area().isFollowing());
        QVERIFY(markerIsAtTheBottomEdge(console));
    }

    void theUserStopsTheMovementByScrolling() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        const ManualAnimations animations;
        console.appendAndWait("new\n");
        QVERIFY(console.area().isFollowing());
        console.press(Qt::Key_Home);
        QVERIFY(!console.area().isFollowing());
        QCOMPARE(console.scrolled(), 0);
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
        QCOMPARE(console.scrolled(), 1234);
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
        // Everything on screen was dropped, and there was no refresh since.
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
        console.appendAndWait("new\n");
        settle(console);
        QTRY_COMPARE(console.runningTimers(), 0);
        console.view.hide();
        console.appendLines(10);
        QCOMPARE(console.runningTimers(), 0);
    }

    void theArrowsMoveTheCaretFromWhatIsOnScreen() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        console.area().verticalScrollBar()->setValue(2000);
        const LogPosition top = *console.area().topOfView();
        console.press(Qt::Key_Down);
        QCOMPARE(console.area().selection().caret().sequence, top.sequence + 1);
        for (int i = 0; i < 40; ++i)
            console.press(Qt::Key_Down);
        QCOMPARE(console.area().selection().caret().sequence, top.sequence + 41);
        const QRectF caret = console.area().rectangleOf(console.area().selection().caret());
        QVERIFY(caret.top() >= 0 && caret.bottom() <= console.area().viewport()->height());
    }

    void pageAndHomeAndEndScroll() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        QScrollBar &bar = *console.area().verticalScrollBar();
        console.press(Qt::Key_End);
        QCOMPARE(bar.value(), bar.maximum());
        console.press(Qt::Key_PageUp);
        QVERIFY(bar.value() < bar.maximum() - 100);
        console.press(Qt::Key_PageDown);
        QCOMPARE(bar.value(), bar.maximum());
        console.press(Qt::Key_Home);
        QCOMPARE(bar.value(), 0);
        QVERIFY(!console.area().hasSelection());
    }

    void keysInAnEmptyLogDoNothing() {
        ConsoleFixture console;
        console.show();
        for (const Qt::Key k : {Qt::Key_Home, Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Up,
                                Qt::Key_Down, Qt::Key_Left, Qt::Key_Right, Qt::Key_A, Qt::Key_C}) {
            console.press(k);
            console.press(k, Qt::ShiftModifier);
            console.press(k, Qt::ControlModifier);
        }
        QTest::mouseClick(console.area().viewport(), Qt::LeftButton);
        QTest::mouseDClick(console.area().viewport(), Qt::LeftButton);
        QVERIFY(!console.area().hasSelection());
        QVERIFY(console.clipboard.calls.empty());
    }

    void theWheelScrolls() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        const QPointF point(50, 50);
        QWheelEvent event(point, console.area().viewport()->mapToGlobal(point), {}, {0, -240}, Qt::NoButton,
                          {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(console.area().viewport(), &event);
        QVERIFY(console.scrolled() > 0);
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

TEST_CLASS(LogTextAreaTest, QApplication)
#include "LogTextAreaTest.moc"

#include "ConsoleActions.h"
#include "ConsoleFixture.h"
#include "ManualAnimations.h"
#include "TestProgram.h"

#include <QAccessible>
#include <QAction>
#include <QScopeGuard>
#include <QTest>

using namespace ferrolt;

class NewestEntryButtonTest : public QObject {
    Q_OBJECT

    static bool isAtTheEnd(ConsoleFixture &console) {
        return console.scrolled() == console.area().verticalScrollBar()->maximum();
    }
    /// A full log that the user has scrolled up, so that nothing scrolls by itself.
    static void scrolledUp(ConsoleFixture &console) {
        console.appendLines(1000);
        console.show();
        console.press(Qt::Key_End);
        console.press(Qt::Key_PageUp);
    }

  private Q_SLOTS:
    void itIsThereOnlyWhileTheNewestEntryIsNotOnScreen() {
        ConsoleFixture console;
        console.show();
        QVERIFY(!console.newestButton().isVisible());
        console.appendAndWait("one\n");
        QVERIFY(!console.newestButton().isVisible());
        ManualAnimations animations;
        console.appendLines(999);
        QTRY_VERIFY(console.area().isFollowing());
        QVERIFY(!console.newestButton().isVisible());
        animations.advanceBy(300);
        QVERIFY(!console.area().isFollowing());
        QVERIFY(isAtTheEnd(console) || console.area().showsNewest());
        QVERIFY(!console.newestButton().isVisible());

        console.press(Qt::Key_PageUp);
        QVERIFY(console.newestButton().isVisible());
        console.appendAndWait("at the cap nothing scrolls\n");
        QVERIFY(console.newestButton().isVisible());
        console.press(Qt::Key_End);
        QVERIFY(!console.newestButton().isVisible());
        console.appendAndWait("of the same height\n");
        QVERIFY(!console.newestButton().isVisible());
    }

    /// Nothing scrolls when the view first appears.
    void itIsThereInALongLogThatJustAppeared() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        QCOMPARE(console.scrolled(), 0);
        QVERIFY(console.newestButton().isVisible());
        console.append("new\n");
        QTRY_VERIFY(!console.newestButton().isVisible());
        QTRY_VERIFY(!console.area().isFollowing());
        QVERIFY(!console.newestButton().isVisible());
    }

    void aClickThatStopsTheMovementBringsIt() {
        ConsoleFixture console;
        console.appendLines(300);
        console.show();
        const ManualAnimations animations;
        console.appendAndWait("new\n");
        QVERIFY(console.area().isFollowing());
        QVERIFY(!console.newestButton().isVisible());
        QTest::mouseClick(console.area().viewport(), Qt::LeftButton, {}, QPoint(20, 20));
        QVERIFY(!console.area().isFollowing());
        QVERIFY(console.newestButton().isVisible());
    }

    void aClickGoesToTheEndAndLeavesTheFocusAndTheSelection() {
        ConsoleFixture console;
        scrolledUp(console);
        console.area().setFocus();
        console.area().selectAll();
        QTest::mouseClick(&console.newestButton(), Qt::LeftButton);
        QVERIFY(isAtTheEnd(console));
        QVERIFY(!console.newestButton().isVisible());
        QVERIFY(console.area().hasFocus());
        QVERIFY(console.area().hasSelection());
    }

    void aScreenReaderFindsAndPressesIt() {
        ConsoleFixture console;
        scrolledUp(console);
        QAccessibleInterface *const known = QAccessible::queryAccessibleInterface(&console.newestButton());
        QCOMPARE(known->text(QAccessible::Name), QString("Newest Entry"));
        QCOMPARE(console.newestButton().toolTip(), QString("Newest Entry"));
        QCOMPARE(known->parent()->object(), &console.view);
        QVERIFY(!known->state().invisible);
        known->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_VERIFY(isAtTheEnd(console));
    }

    void theKeyDoesTheSameFromTheLogAndFromAField() {
        ConsoleFixture console;
        scrolledUp(console);
        QTest::keyClick(&console.area(), Qt::Key_End, Qt::AltModifier);
        QVERIFY(isAtTheEnd(console));
        console.actions.refresh();
        QVERIFY(!console.actions.newestEntry->isEnabled());
        console.press(Qt::Key_PageUp);
        console.view.find();
        QWidget *const field = QApplication::focusWidget();
        QVERIFY(field->inherits("QLineEdit"));
        QTest::keyClick(field, Qt::Key_End, Qt::AltModifier);
        QVERIFY(isAtTheEnd(console));
        QVERIFY(field->hasFocus());
    }

    void itStaysInTheCornerOfTheTextInBothDirections_data() {
        QTest::addColumn<Qt::LayoutDirection>("direction");
        QTest::newRow("left to right") << Qt::LeftToRight;
        QTest::newRow("right to left") << Qt::RightToLeft;
    }
    void itStaysInTheCornerOfTheTextInBothDirections() {
        QFETCH(Qt::LayoutDirection, direction);
        const auto restore = qScopeGuard([] { QApplication::setLayoutDirection(Qt::LeftToRight); });
        QApplication::setLayoutDirection(direction);
        ConsoleFixture console;
        scrolledUp(console);
        const auto isInTheCorner = [&] {
            const QWidget &text = *console.area().viewport();
            const QRect place = console.newestButton().geometry();
            const QRect around(text.mapTo(&console.view, QPoint(0, 0)), text.size());
            const int side =
                direction == Qt::LeftToRight ? around.right() - place.right() : place.left() - around.left();
            return side == 12 && around.bottom() - place.bottom() == 12 && place.width() == place.height();
        };
        QVERIFY(isInTheCorner());
        console.view.find();
        QCoreApplication::processEvents();
        QVERIFY(isInTheCorner());
        console.view.resize(640, 420);
        QTRY_VERIFY(isInTheCorner());
        QVERIFY(console.newestButton().isVisible());
    }

    void theWheelScrollsTheLogBelowIt() {
        ConsoleFixture console;
        scrolledUp(console);
        const int before = console.scrolled();
        const QPointF middle = console.newestButton().rect().center();
        QWheelEvent wheel(middle, console.newestButton().mapToGlobal(middle), QPoint(), QPoint(0, 120),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&console.newestButton(), &wheel);
        QVERIFY(console.scrolled() < before);
    }
};

TEST_CLASS(NewestEntryButtonTest, QApplication)
#include "NewestEntryButtonTest.moc"

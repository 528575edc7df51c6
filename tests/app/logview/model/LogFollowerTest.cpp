#include "LogFollower.h"
#include "ManualAnimations.h"
#include "TestProgram.h"

#include <QTest>

#include <algorithm>
#include <vector>

using namespace ferrolt;

class LogFollowerTest : public QObject {
    Q_OBJECT

    using Movement = LogFollower::Movement;
    using Hold = LogViewport::Hold;

    /// 10 pixels a row, 100 pixels of height, so many lines of one row in as many elements.
    struct Followed {
        explicit Followed(int lines) : layout(log), view(layout), follower(view, [this] { ++moves; }) {
            view.setGrid(20, 10);
            view.setHeight(100);
            append(lines);
        }
        void append(int lines) {
            for (int i = 0; i < lines; ++i)
                log.append("line\n");
            view.sync(follower.hold(), std::size_t{1} << 20);
        }
        void follow(Movement movement) { follower.follow(log.size(), movement); }
        bool isAtEnd() const { return view.offset() == view.followOffset(); }

        LogBuffer log;
        LogLayout layout;
        LogViewport view;
        int moves = 0;
        LogFollower follower;
    };

  private Q_SLOTS:
    void aNewNumberOfEntriesIsFollowed() {
        Followed log(50);
        QVERIFY(log.view.followOffset() > 0);
        log.follow(Movement::Immediate);
        QVERIFY(log.isAtEnd());
        log.append(1);
        QVERIFY(!log.isAtEnd());
        log.follow(Movement::Immediate);
        QVERIFY(log.isAtEnd());
        QVERIFY(!log.follower.isMoving());
    }

    void theSameNumberIsNot() {
        Followed log(50);
        log.follow(Movement::Immediate);
        log.follower.scrollTo(30);
        log.log.takeFirst();
        log.append(1);
        const qint64 offset = log.view.offset();
        log.follow(Movement::Immediate);
        QCOMPARE(log.view.offset(), offset);
    }

    /// Nor when it is shown later: the entries count as followed.
    void aViewThatWasNotShownIsNotScrolled() {
        Followed log(50);
        log.follow(Movement::None);
        QCOMPARE(log.view.offset(), 0);
        log.follow(Movement::Immediate);
        QCOMPARE(log.view.offset(), 0);
    }

    void aMovementTakes300MillisecondsAndSlowsDown() {
        ManualAnimations animations;
        Followed log(50);
        log.follow(Movement::Animated);
        QVERIFY(log.follower.isMoving());
        QCOMPARE(log.view.offset(), 0);
        const auto end = static_cast<double>(log.view.followOffset());
        for (int milliseconds = 30; milliseconds < 300; milliseconds += 30) {
            animations.advanceBy(30);
            const double rest = 1 - milliseconds / 300.0;
            QCOMPARE(log.view.offset(), static_cast<qint64>(end) - std::llround(end * rest * rest * rest));
            QVERIFY(log.follower.isMoving());
        }
        QVERIFY(log.moves >= 9);
        animations.advanceBy(29);
        QVERIFY(log.follower.isMoving());
        animations.advanceBy(1);
        QVERIFY(!log.follower.isMoving());
        QVERIFY(log.isAtEnd());
    }

    void whatArrivesMeanwhileIsReachedToo() {
        ManualAnimations animations;
        Followed log(50);
        log.follow(Movement::Animated);
        animations.advanceBy(150);
        log.append(30);
        const qint64 before = log.view.offset();
        log.follow(Movement::Animated);
        QCOMPARE(log.view.offset(), before);
        animations.advanceBy(299);
        QVERIFY(log.follower.isMoving());
        animations.advanceBy(1);
        QVERIFY(!log.follower.isMoving());
        QVERIFY(log.isAtEnd());
    }

    void theEndIsReachedThoughItMoves() {
        ManualAnimations animations;
        Followed log(50);
        log.follow(Movement::Animated);
        log.append(5);
        animations.advanceBy(300);
        QVERIFY(log.isAtEnd());
        QVERIFY(log.moves > 0);
    }

    void aViewAtTheEndDoesNotMove() {
        Followed log(3);
        log.follow(Movement::Animated);
        QVERIFY(!log.follower.isMoving());
        QCOMPARE(log.moves, 0);
    }

    void theUserAndAJumpEndAMovement() {
        Followed log(50);
        log.follow(Movement::Animated);
        log.follower.scrollTo(40);
        QVERIFY(!log.follower.isMoving());
        QCOMPARE(log.view.offset(), 40);
        log.append(1);
        log.follow(Movement::Animated);
        QVERIFY(log.follower.isMoving());
        log.append(1);
        log.follow(Movement::Immediate);
        QVERIFY(!log.follower.isMoving());
        QVERIFY(log.isAtEnd());
    }

    void theTextIsHeldOnceTheUserHasScrolledUp() {
        Followed log(50);
        QVERIFY(log.follower.hold() == Hold::Offset);
        log.follower.scrollTo(40);
        QVERIFY(log.follower.hold() == Hold::Text);
        log.follower.scrollTo(log.view.followOffset());
        QVERIFY(log.follower.hold() == Hold::Offset);
        log.follower.scrollTo(40);
        log.follow(Movement::Immediate);
        QVERIFY(log.follower.hold() == Hold::Offset);
        log.follower.scrollTo(40);
        log.append(1);
        log.follow(Movement::Animated);
        QVERIFY(log.follower.hold() == Hold::Offset);
    }

    /// Elements of more rows than their estimate, none of them counted yet.
    void aJumpReachesTheEndOfRowsThatWereNotCounted() {
        Followed log(0);
        for (int i = 0; i < 50; ++i)
            log.log.append(QByteArray("\n").repeated(i % 5 + 1));
        log.view.sync(Hold::Offset, 0);
        log.follower.jumpToEnd();
        QVERIFY(log.isAtEnd());
        QVERIFY(log.layout.isExact(49));
        QVERIFY(!log.layout.isExact());
    }

    /// In a full log whose estimates are off by a factor of 660 in either direction.
    void aJumpCountsNoMoreThanFitsOnAScreen() {
        const QByteArray flat = ("a" + QByteArray("\u0301").repeated(16)).repeated(20);  // a row of 20 cells
        const QByteArray tall = QByteArray("\n").repeated(flat.size());
        for (const QByteArray pattern : {"tff", "fft", "fffffffffft", "tf", "ft", "t", "f"}) {
            Followed log(0);
            for (int i = 0; i < 1000; ++i)
                log.log.append(pattern[i % pattern.size()] == 't' ? tall : flat);
            log.view.sync(Hold::Offset, 1);
            log.follower.jumpToEnd();
            QVERIFY(log.isAtEnd());
            int counted = 0;
            for (std::uint64_t i = 0; i < 1000; ++i)
                counted += log.layout.isExact(i);
            QVERIFY2(counted <= 100 / (10 + LogLayout::spacing) + 2, qPrintable(QString::number(counted)));
        }
    }

    void rowsThatTheUserScrollsToAreCounted() {
        Followed log(0);
        for (int i = 0; i < 50; ++i)
            log.log.append("\n\n\n");
        log.view.sync(Hold::Offset, 0);
        log.follower.scrollTo(200);
        QVERIFY(log.layout.isExact(log.layout.elementAt(log.view.offset())));
    }

    /// Else the first paint of a movement would change its distance.
    void rowsOnScreenAreCountedBeforeAMovement() {
        Followed log(0);
        for (int i = 0; i < 50; ++i)
            log.log.append("\n\n\n");
        log.view.sync(Hold::Offset, 0);
        log.follow(Movement::Animated);
        QVERIFY(log.layout.isExact(0));
    }
};

TEST_CLASS(LogFollowerTest, QCoreApplication)
#include "LogFollowerTest.moc"

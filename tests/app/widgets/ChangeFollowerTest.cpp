#include "ChangeFollower.h"
#include "TestProgram.h"

#include <QApplication>
#include <QTest>
#include <QWidget>

using namespace ferrolt;

class ChangeFollowerTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void manyAnnouncementsInOneTurnMakeOneRefreshAfterThem() {
        QWidget view;
        int value = 0;
        QList<int> seen;
        ChangeFollower follower(&view, [&] { seen.append(value); });
        view.show();
        seen.clear();
        for (int i = 0; i < 1000; ++i) {
            follower.changeAnnounced();
            value = i;
        }
        QVERIFY(seen.isEmpty());
        QTRY_COMPARE(seen, QList<int>{999});
        QCoreApplication::processEvents();
        QCOMPARE(seen.size(), 1);
    }

    void aHiddenViewIsLeftAloneUntilItIsShown() {
        QWidget view;
        int refreshes = 0;
        ChangeFollower follower(&view, [&] { ++refreshes; });
        follower.changeAnnounced();
        QCoreApplication::processEvents();
        QCOMPARE(refreshes, 0);
        view.show();
        QCOMPARE(refreshes, 1);
    }

    void aViewHiddenBeforeItsTurnIsNotRefreshed() {
        QWidget view;
        int refreshes = 0;
        ChangeFollower follower(&view, [&] { ++refreshes; });
        view.show();
        refreshes = 0;
        follower.changeAnnounced();
        view.hide();
        QCoreApplication::processEvents();
        QCOMPARE(refreshes, 0);
        view.show();
        QCOMPARE(refreshes, 1);
        follower.changeAnnounced();
        QTRY_COMPARE(refreshes, 2);
    }
};

TEST_CLASS(ChangeFollowerTest, QApplication)
#include "ChangeFollowerTest.moc"

#include "DesktopNotifications.h"
#include "NotificationDesk.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QTest>

#include <memory>

using namespace ferrolt;

/// With a private session bus.
class NotificationServiceTest : public QObject {
    Q_OBJECT

    QProcess bus;
    QString address;
    std::unique_ptr<DesktopNotifications> notifications;
    int shown = 0;
    int pressed = 0;

    void show(const QString &button = "Do It") {
        notifications->show(
            {.title = "Title", .body = "Some text.", .button = button}, [this] { ++shown; },
            [this] { ++pressed; });
    }

  private Q_SLOTS:
    void initTestCase() {
        bus.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        QVERIFY(bus.waitForReadyRead());
        address = QString::fromLocal8Bit(bus.readLine().trimmed());
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toLocal8Bit());
    }
    void cleanupTestCase() {
        bus.terminate();
        bus.waitForFinished();
    }
    void init() {
        notifications = DesktopNotifications::ofDesktop();
        shown = 0;
        pressed = 0;
    }
    void cleanup() { notifications.reset(); }

    void itIsShownAsAskedAndItsButtonPressedOnce() {
        NotificationDesk desk(address);
        QVERIFY(desk.isUp);
        show();
        QCOMPARE(shown, 0);  // nothing is waited for
        QVERIFY(waitUntil([&] { return shown == 1; }));
        QCOMPARE(desk.shown.size(), 1);
        QCOMPARE(desk.shown[0].title, QString("Title"));
        QCOMPARE(desk.shown[0].body, QString("Some text."));
        QCOMPARE(desk.shown[0].actions, (QStringList{"button", "Do It"}));
        desk.press(1);
        desk.press(1);
        QVERIFY(waitUntil([&] { return pressed > 0; }));
        show("");
        QVERIFY(waitUntil([&] { return shown == 2; }));  // after the second press
        QCOMPARE(pressed, 1);
        QCOMPARE(desk.shown[1].actions, QStringList());
    }

    void whatOthersSayAndWhatIsNotItsButtonPressesNothing() {
        NotificationDesk desk(address);
        show();
        QVERIFY(waitUntil([&] { return shown == 1; }));
        {
            NotificationDesk stranger(address);
            QVERIFY(!stranger.isUp);
            stranger.press(1, "button");
            stranger.close(1);
        }
        desk.press(7, "button");
        desk.press(1, "default");
        for (uint other = 2; other < 10'000; ++other)
            desk.press(other, "button");
        show("");
        QVERIFY(waitUntil([&] { return shown == 2; }));
        QCOMPARE(pressed, 0);
        desk.press(1);
        QVERIFY(waitUntil([&] { return pressed == 1; }));
    }

    void aPressThatComesWithTheAnswerCounts() {
        NotificationDesk desk(address);
        show();
        QVERIFY(waitUntil([&] { return desk.shown.size() == 1; }));
        desk.press(1);
        QVERIFY(waitUntil([&] { return pressed == 1; }));
    }

    void onceClosedItCannotBePressed() {
        NotificationDesk desk(address);
        show();
        QVERIFY(waitUntil([&] { return shown == 1; }));
        desk.close(1);
        desk.press(1);
        show("");
        QVERIFY(waitUntil([&] { return shown == 2; }));
        QCOMPARE(pressed, 0);
        notifications.reset();
        NotificationDesk probe(address);  // after its connection, the withdrawal would have arrived
        QVERIFY(desk.withdrawn.isEmpty());
    }

    void aButtonThatWouldDoNothingIsWithdrawn() {
        NotificationDesk desk(address);
        show();
        show("");
        QVERIFY(waitUntil([&] { return shown == 2; }));
        notifications.reset();
        QVERIFY(waitUntil([&] { return desk.withdrawn == QList<uint>{1}; }));
    }

    void aServiceThatDoesNotAnswerOrAnswersWronglyHasShownNothing_data() {
        QTest::addColumn<NotificationDesk::Manner>("manner");
        QTest::newRow("silent") << NotificationDesk::Manner::NeverAnswers;
        QTest::newRow("refusal") << NotificationDesk::Manner::Refuses;
        QTest::newRow("another type") << NotificationDesk::Manner::AnswersWithText;
    }
    void aServiceThatDoesNotAnswerOrAnswersWronglyHasShownNothing() {
        QFETCH(NotificationDesk::Manner, manner);
        {
            NotificationDesk desk(address, manner);
            show();
            QVERIFY(waitUntil([&] { return desk.shown.size() == 1; }));
            desk.press(1);
        }
        NotificationDesk next(address);
        show("");
        QVERIFY(waitUntil([&] { return next.shown.size() == 1 && shown > 0; }));
        QCOMPARE(shown, 1);
        QCOMPARE(pressed, 0);
    }

    void withoutAServiceNothingIsShownAndNothingWaits() {
        QElapsedTimer timer;
        timer.start();
        show();
        QVERIFY(timer.elapsed() < 10'000);
        NotificationDesk later(address);
        show("");
        QVERIFY(waitUntil([&] { return shown == 1; }));
        QCOMPARE(later.shown.size(), 1);
    }

    void withoutABusNothingIsShown() {
        const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("XDG_RUNTIME_DIR");
        show();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toLocal8Bit());
        qputenv("XDG_RUNTIME_DIR", runtime);
        NotificationDesk desk(address);
        show("");
        QVERIFY(waitUntil([&] { return shown == 1; }));
        QCOMPARE(desk.shown.size(), 1);
    }
};

TEST_CLASS(NotificationServiceTest, QGuiApplication)
#include "NotificationServiceTest.moc"

#include "AccessibleRoles.h"
#include "Announcement.h"
#include "ConsoleFixture.h"
#include "FindBar.h"
#include "LauncherPrefs.h"
#include "PathResolvers.h"
#include "TestProgram.h"
#include "Theme.h"
#include "ToldToScreenReaders.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace ferrolt;
using namespace std::chrono_literals;

/// Texts that appear while the focus is elsewhere, where a screen reader would not notice them.
class AnnouncementTest : public QObject {
    Q_OBJECT

    static qsizetype alerts(const QString &text) {
        qsizetype count = 0;
        for (const auto &event : ToldToScreenReaders::events()) {
            const auto *const label = qobject_cast<Announcement *>(event.object);
            count += event.kind == QAccessible::Alert && label && label->text() == text ? 1 : 0;
        }
        return count;
    }

  private Q_SLOTS:
    void initTestCase() {
        installAccessibleRoles();
        QAccessible::setActive(true);
        if (qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"))
            QTRY_VERIFY(QAccessible::isActive());
    }
    void init() {
        if (!QAccessible::isActive())
            QSKIP("This platform has no screen readers.");
    }
    void cleanupTestCase() { QAccessible::setActive(false); }

    void itIsANotificationNamedByItsText() {
        Announcement label(QStringLiteral("& done"), Theme::body, Theme::primaryText);
        QAccessibleInterface *const known = QAccessible::queryAccessibleInterface(&label);
        QCOMPARE(known->role(), QAccessible::Notification);
        QCOMPARE(known->text(QAccessible::Name), QString("& done"));
    }

    void whatCannotBeSeenIsNotSpoken() {
        Announcement label(QStringLiteral("done"), Theme::body, Theme::primaryText);
        const ToldToScreenReaders told;
        label.speak();
        QVERIFY(told.events(&label, QAccessible::Alert).isEmpty());
        WindowFixture::show(label);
        label.speak();
        QCOMPARE(told.events(&label, QAccessible::Alert).size(), 1);
        label.setText(QString());
        label.speak();
        QCOMPARE(told.events(&label, QAccessible::Alert).size(), 1);
    }

    void whatASearchFoundIsSpokenOnceItHasSettled() {
        ConsoleFixture console;
        console.appendLines(30);
        console.show();
        console.view.find();
        const auto &bar = *console.view.findChild<FindBar *>();
        auto *const field = bar.findChild<QLineEdit *>();
        auto *const label = bar.findChild<Announcement *>();
        const ToldToScreenReaders told;
        QTest::keyClicks(field, QStringLiteral("line 1"));
        QTRY_COMPARE(told.events(label, QAccessible::Alert).size(), 1);
        QCOMPARE(alerts("1 of 11"), 1);
        // A result that changes because the log grew is not spoken.
        console.append("line 1\n");
        QTRY_COMPARE(label->text(), QString("1 of 12"));
        QTest::keyClick(field, Qt::Key_Return);
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_COMPARE(told.events(label, QAccessible::Alert).size(), 2);
        QCOMPARE(label->text(), QString("3 of 12"));
        QTest::keyClicks(field, QStringLiteral("absent"));
        QTRY_COMPARE(told.events(label, QAccessible::Alert).size(), 3);
        QCOMPARE(label->text(), QString("Not found"));
    }

    void theSuccessLineIsSpokenEachTimeThatItComes() {
        const QString success = "Settings applied successfully!";
        const TestTree tree;
        TestTree::write(tree.clientConfiguration(),
                        "MinerEmailAddress = ada@example.org\nMinerEntityName = Ada Lovelace\n");
        usePathRoots(tree.roots());
        const auto time = std::make_shared<ManualTime>();
        LauncherPrefs prefs([] {}, time);
        WindowFixture::show(prefs);
        auto *const button = named<QPushButton>(prefs, "Save & Apply Configuration");
        const ToldToScreenReaders told;
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_COMPARE(alerts(success), 1);
        QTest::mouseClick(button, Qt::LeftButton);
        QCoreApplication::processEvents();
        QCOMPARE(alerts(success), 1);  // it is still shown
        time->advance(3s);
        QTRY_VERIFY(!named(prefs, success)->isVisible());
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_COMPARE(alerts(success), 2);
    }
};

TEST_CLASS(AnnouncementTest, QApplication)
#include "AnnouncementTest.moc"

#include "LauncherStyle.h"
#include "TestProgram.h"
#include "UpgradeOffer.h"
#include "Waiting.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QWidget>

using namespace ferrolt;

namespace {

/// The launcher's window, after an upgrade of the program.
struct Upgraded {
    bool isReplaced = true;
    QWidget window;
    UpgradeOffer offer{[this] { return isReplaced; }, window};
    int accepted = 0;

    Upgraded() {
        LauncherStyle::install();
        window.resize(900, 600);
        QObject::connect(&offer, &UpgradeOffer::accepted, &window, [this] { ++accepted; });
        window.show();
    }

    QList<QMessageBox *> boxes() const {
        QList<QMessageBox *> shown;
        for (QMessageBox *const box : window.findChildren<QMessageBox *>())
            if (box->isVisible())
                shown << box;
        return shown;
    }
    void press(const QString &text) const {
        for (QAbstractButton *const button : boxes().at(0)->buttons())
            if (button->text() == text)
                button->click();
    }
};

const QString restart = QStringLiteral("Quit and start the new version");

}  // namespace

class UpgradeOfferTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void withoutAnUpgradeNothingIsAsked() {
        Upgraded u;
        u.isReplaced = false;
        u.offer.ask();
        QVERIFY(u.boxes().isEmpty());
        u.offer.refresh();
        QVERIFY(!u.offer.action()->isVisible());
    }

    void theQuestionIsTheWindowsAndLeavesTheProgramRunning() {
        Upgraded u;
        u.offer.ask();
        QCOMPARE(u.boxes().size(), 1);
        QMessageBox *const box = u.boxes().at(0);
        QCOMPARE(box->windowModality(), Qt::WindowModal);
        QStringList texts;
        for (const QAbstractButton *const button : box->buttons())
            texts << button->text();
        texts.sort();
        QCOMPARE(texts, (QStringList{"Later", restart}));
        QCOMPARE(box->text(), QStringLiteral("A new version was installed"));
        box->grab().save(QStringLiteral(FERROLT_PICTURES "/upgrade-offer.png"));
    }

    void itIsNotAskedTwiceAtOnceButAgainByTheNextStart() {
        Upgraded u;
        u.offer.ask();
        u.offer.ask();
        QCOMPARE(u.boxes().size(), 1);
        u.press("Later");
        QVERIFY(u.boxes().isEmpty());
        QCOMPARE(u.accepted, 0);
        u.offer.ask();
        QCOMPARE(u.boxes().size(), 1);
    }

    void aKeyIsNeverTheConsent_data() {
        QTest::addColumn<int>("key");
        QTest::newRow("Escape") << int(Qt::Key_Escape);
        QTest::newRow("Enter") << int(Qt::Key_Return);
    }
    void aKeyIsNeverTheConsent() {
        QFETCH(int, key);
        Upgraded u;
        u.offer.ask();
        QVERIFY(QTest::qWaitForWindowActive(u.boxes().at(0)));
        QTest::keyClick(u.boxes().at(0), Qt::Key(key));
        QVERIFY(waitUntil([&] { return u.boxes().isEmpty(); }));
        QCOMPARE(u.accepted, 0);
    }

    void aKeyThatIsPressedTwiceAnswersOnce() {
        Upgraded u;
        u.offer.ask();
        const QPointer<QMessageBox> box = u.boxes().at(0);
        QVERIFY(QTest::qWaitForWindowActive(box));
        QTest::keyClick(box, Qt::Key_Escape);
        QVERIFY(box);  // it deletes itself later
        QTest::keyClick(box, Qt::Key_Escape);
        QVERIFY(waitUntil([&] { return !box; }));
        QCOMPARE(u.accepted, 0);
    }

    void theConsentIsGivenOnce() {
        Upgraded u;
        u.offer.ask();
        u.press(restart);
        QCOMPARE(u.accepted, 1);
        QVERIFY(u.boxes().isEmpty());
    }

    void consentToAVersionThatHasGoneMeanwhileChangesNothing() {
        Upgraded u;
        u.offer.ask();
        u.isReplaced = false;
        u.press(restart);
        QCOMPARE(u.accepted, 0);
        QVERIFY(u.boxes().isEmpty());
    }

    void theActionIsVisibleOnlyWhileThereIsANewVersion() {
        Upgraded u;
        QVERIFY(!u.offer.action()->isVisible());
        u.offer.refresh();
        QVERIFY(u.offer.action()->isVisible());
        QCOMPARE(u.offer.action()->text(), restart);
        u.offer.action()->trigger();
        QCOMPARE(u.accepted, 1);
        u.isReplaced = false;
        u.offer.refresh();
        QVERIFY(!u.offer.action()->isVisible());
    }

    void aQuitDoesNotWaitForTheAnswer() {
        Upgraded u;
        u.offer.ask();
        QTimer::singleShot(0, qApp, [] { QApplication::quit(); });
        QTimer::singleShot(20000, &u.window, [] { QCoreApplication::exit(1); });
        QCOMPARE(QApplication::exec(), 0);
        QCOMPARE(u.accepted, 0);
    }
};

TEST_CLASS(UpgradeOfferTest, QApplication)
#include "UpgradeOfferTest.moc"

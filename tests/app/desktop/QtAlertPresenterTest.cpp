#include "ApplicationLook.h"
#include "QtAlertPresenter.h"
#include "TestProgram.h"
#include "Theme.h"
#include "Waiting.h"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QWindow>

#include <optional>

using namespace ferrolt;

class QtAlertPresenterTest : public QObject {
    Q_OBJECT

    static QMessageBox *shown() {
        QMessageBox *only = nullptr;
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            auto *box = qobject_cast<QMessageBox *>(widget);
            if (!box || !box->isVisible())
                continue;
            if (only)
                qFatal("two alerts at once");
            only = box;
        }
        return only;
    }

    static QAbstractButton *onlyButton(QMessageBox *box) {
        return box->buttons().size() == 1 ? box->buttons().constFirst() : nullptr;
    }

    /// A click before would be the second of a double click.
    static void waitForANewClick() { QTest::qWait(QApplication::doubleClickInterval() + 20); }

    static Alert alert(const QString &message, AlertStyle style = AlertStyle::Warning) {
        return {.style = style, .messageText = message, .informativeText = "Why", .button = "OK"};
    }

  private Q_SLOTS:
    void cleanup() { QTRY_VERIFY(!shown()); }

    void anAlertAppearsWithoutAnyWindowAndBlocksNothingButWindows() {
        QtAlertPresenter presenter;
        bool dismissed = false;
        presenter.present({.style = AlertStyle::Critical,
                           .messageText = "Ferrolt Miner Launcher Stopped",
                           .informativeText = "Line one\nLine two",
                           .button = "Exit"},
                          [&] { dismissed = true; });
        QMessageBox *box = shown();
        QVERIFY(box);  // shown, though present() has returned
        QVERIFY(QTest::qWaitForWindowActive(box));
        QCOMPARE(box->windowModality(), Qt::ApplicationModal);
        QVERIFY(!box->parent());
        QCOMPARE(box->text(), QString("Ferrolt Miner Launcher Stopped"));
        QCOMPARE(box->informativeText(), QString("Line one\nLine two"));
        QCOMPARE(onlyButton(box)->text(), QString("Exit"));
        QVERIFY(!dismissed);
        QTest::mouseClick(onlyButton(box), Qt::LeftButton);
        QTRY_VERIFY(dismissed);
    }

    void everyStyleHasAnIconOfItsOwn() {
        QList<QImage> seen;
        for (const AlertStyle style :
             {AlertStyle::Informational, AlertStyle::Warning, AlertStyle::Critical}) {
            QtAlertPresenter presenter;
            presenter.present(alert("Message", style), {});
            const QPixmap icon = shown()->iconPixmap();
            QVERIFY(!icon.isNull());
            QVERIFY(!seen.contains(icon.toImage()));
            seen.append(icon.toImage());
        }
    }

    void theLinesOfAnExplanationStayLines() {
        QtAlertPresenter presenter;
        presenter.present(
            {.messageText = "Short",
             .informativeText = "You must provide an E-Mail address\nand User/Company name (must contain a "
                                "space)\nbefore the miner will do any work.",
             .button = "OK"},
            {});
        QVERIFY(QTest::qWaitForWindowExposed(shown()));
        auto *explanation = shown()->findChild<QLabel *>("qt_msgbox_informativelabel");
        QVERIFY(explanation);
        const QStringList lines = explanation->text().split('\n');
        QCOMPARE(lines.size(), 3);
        for (const QString &line : lines)
            QVERIFY(explanation->contentsRect().width() >=
                    explanation->fontMetrics().horizontalAdvance(line));
        QVERIFY(!explanation->wordWrap());
    }

    void twoAlertsDueAtOnceComeOneAfterTheOtherEachDismissedOnce() {
        QtAlertPresenter presenter;
        QStringList dismissed;
        for (const QString message : {"first", "second", "third"})
            presenter.present(alert(message), [&dismissed, message] { dismissed.append(message); });
        for (const QString message : {"first", "second", "third"}) {
            QTRY_VERIFY(shown());
            QCOMPARE(shown()->text(), message);
            QAbstractButton *button = onlyButton(shown());
            waitForANewClick();
            QTest::mouseClick(button, Qt::LeftButton);
            QTRY_COMPARE(dismissed.size(), message == "first" ? 1 : message == "second" ? 2 : 3);
        }
        QCoreApplication::processEvents();
        QCOMPARE(dismissed, (QStringList{"first", "second", "third"}));
    }

    void escapeReturnAndTheWindowManagersCloseAllDismissIt_data() {
        QTest::addColumn<int>("how");
        QTest::addRow("escape") << 0;
        QTest::addRow("return") << 1;
        QTest::addRow("close") << 2;
    }
    void escapeReturnAndTheWindowManagersCloseAllDismissIt() {
        QFETCH(int, how);
        QtAlertPresenter presenter;
        int dismissed = 0;
        presenter.present(alert("Message", AlertStyle::Informational), [&] { ++dismissed; });
        QVERIFY(QTest::qWaitForWindowActive(shown()));
        if (how == 0)
            QTest::keyClick(shown(), Qt::Key_Escape);
        else if (how == 1)
            QTest::keyClick(shown(), Qt::Key_Return);
        else
            shown()->close();
        QTRY_COMPARE(dismissed, 1);
        QTRY_VERIFY(!shown());
        QCoreApplication::processEvents();
        QCOMPARE(dismissed, 1);
    }

    void aKeyOnItsWayToAnotherWindowDismissesNoWarningAndNoCriticalAlert_data() {
        QTest::addColumn<int>("key");
        QTest::addColumn<AlertStyle>("style");
        QTest::newRow("return") << int(Qt::Key_Return) << AlertStyle::Warning;
        QTest::newRow("space") << int(Qt::Key_Space) << AlertStyle::Warning;
        QTest::newRow("escape") << int(Qt::Key_Escape) << AlertStyle::Critical;
    }
    void aKeyOnItsWayToAnotherWindowDismissesNoWarningAndNoCriticalAlert() {
        QFETCH(int, key);
        QFETCH(AlertStyle, style);
        QtAlertPresenter presenter;
        QElapsedTimer sinceShown;
        std::optional<qint64> dismissedAfter;
        presenter.present(alert("Message", style), [&] { dismissedAfter = sinceShown.elapsed(); });
        sinceShown.start();
        QVERIFY(QTest::qWaitForWindowExposed(shown()));
        shown()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(shown()));
        QVERIFY(waitUntil([&] {
            if (shown())
                QTest::keyClick(shown()->windowHandle(), Qt::Key(key));
            return dismissedAfter.has_value();
        }));
        QVERIFY2(*dismissedAfter >= 990, qPrintable(QString::number(*dismissedAfter)));
    }

    void aWarningLeavesTheKeyboardToAnotherProgramAndTakesItFromItsOwn_data() {
        QTest::addColumn<AlertStyle>("style");
        QTest::addColumn<bool>("isOwnWindowActive");
        QTest::addColumn<bool>("takesKeyboard");
        QTest::newRow("warning, another program") << AlertStyle::Warning << false << false;
        QTest::newRow("warning, this one") << AlertStyle::Warning << true << true;
        QTest::newRow("information") << AlertStyle::Informational << false << true;
        QTest::newRow("critical") << AlertStyle::Critical << false << true;
    }
    void aWarningLeavesTheKeyboardToAnotherProgramAndTakesItFromItsOwn() {
        QFETCH(AlertStyle, style);
        QFETCH(bool, isOwnWindowActive);
        QFETCH(bool, takesKeyboard);
        QWidget window;
        if (isOwnWindowActive) {
            window.show();
            window.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&window));
        } else {
            QTRY_VERIFY(!QGuiApplication::focusWindow());
        }
        QtAlertPresenter presenter;
        presenter.present(alert("Message", style), {});
        QVERIFY(shown());
        QCOMPARE(shown()->testAttribute(Qt::WA_ShowWithoutActivating), !takesKeyboard);
        QCOMPARE(shown()->isModal(), takesKeyboard);
    }

    void aDoubleClickDismissesOneAlertOfTwo() {
        QtAlertPresenter presenter;
        int dismissed = 0;
        presenter.present(alert("First", AlertStyle::Informational), [&] { ++dismissed; });
        presenter.present(alert("Second", AlertStyle::Critical), [&] { ++dismissed; });
        const auto button = [&] { return shown()->findChild<QPushButton *>(); };
        QTest::mouseClick(button(), Qt::LeftButton);
        QCOMPARE(dismissed, 1);
        QVERIFY(waitUntil([&] { return shown() && shown()->text() == "Second"; }));
        QTest::mouseClick(button(), Qt::LeftButton);
        QCOMPARE(dismissed, 1);
        waitForANewClick();
        QTest::mouseClick(button(), Qt::LeftButton);
        QCOMPARE(dismissed, 2);
    }

    void aKeyMeantForTheMainWindowDismissesNoWarningThatJustTookItsKeyboard() {
        QWidget window;
        QtAlertPresenter presenter;
        presenter.setMainWindow(&window);
        QTRY_VERIFY(!QGuiApplication::focusWindow());
        std::optional<qint64> dismissedAfter;
        QElapsedTimer sinceTurnedTo;
        presenter.present(alert("Message"), [&] { dismissedAfter = sinceTurnedTo.elapsed(); });
        QTest::qWait(1100);
        sinceTurnedTo.start();
        window.show();
        window.activateWindow();
        QVERIFY(waitUntil([&] { return shown()->isModal(); }));
        QVERIFY(QTest::qWaitForWindowActive(shown()));
        QVERIFY(waitUntil([&] {
            if (shown())
                QTest::keyClick(shown()->windowHandle(), Qt::Key_Space);
            return dismissedAfter.has_value();
        }));
        QVERIFY2(*dismissedAfter >= 990, qPrintable(QString::number(*dismissedAfter)));
    }

    void aWarningThatTookNoKeyboardBlocksTheMainWindowOnceTheUserTurnsToIt() {
        QWidget window;
        QtAlertPresenter presenter;
        presenter.setMainWindow(&window);
        QTRY_VERIFY(!QGuiApplication::focusWindow());
        presenter.present(alert("Message"), {});
        QVERIFY(!shown()->isModal());
        window.show();
        window.activateWindow();
        QTRY_VERIFY(shown() && shown()->isModal() && shown()->isActiveWindow());
    }

    void itStaysAboveTheMainWindowWhichMayBeShownBeforeItOrAfterIt_data() {
        QTest::addColumn<bool>("isShownBefore");
        QTest::newRow("before") << true;
        QTest::newRow("after") << false;
    }
    void itStaysAboveTheMainWindowWhichMayBeShownBeforeItOrAfterIt() {
        QFETCH(bool, isShownBefore);
        QWidget window;
        QtAlertPresenter presenter;
        presenter.setMainWindow(&window);
        if (isShownBefore)
            window.show();
        int dismissed = 0;
        presenter.present(alert("Message"), [&] { ++dismissed; });
        const QPointer<QMessageBox> box = shown();
        QVERIFY(QTest::qWaitForWindowExposed(box));
        QCOMPARE(box->windowHandle()->transientParent() != nullptr, isShownBefore);
        // The window is closed, the alert stays, and the window is shown again.
        window.close();
        QCoreApplication::processEvents();
        QCOMPARE(shown(), box.data());
        QVERIFY(!box->windowHandle()->transientParent());
        if (isShownBefore)
            QCOMPARE(box->windowModality(), Qt::ApplicationModal);
        window.show();
        QTRY_COMPARE(box->windowHandle()->transientParent(), window.windowHandle());
        QTRY_VERIFY(box->isVisible() && box->isActiveWindow());
        QCOMPARE(box->windowModality(), Qt::WindowModal);
        QCOMPARE(dismissed, 0);
        QTest::mouseClick(onlyButton(box), Qt::LeftButton);
        QTRY_COMPARE(dismissed, 1);
    }

    void itAppearsOverTheMiddleOfTheMainWindowAndBlocksOnlyThat() {
        QPushButton window("main");
        QPushButton other("other");
        window.setGeometry(320, 200, 460, 560);  // not in the middle of the screen of 800 by 800
        for (QPushButton *each : {&window, &other}) {
            each->show();
            QVERIFY(QTest::qWaitForWindowExposed(each));
        }
        QtAlertPresenter presenter;
        presenter.setMainWindow(&window);
        presenter.present(alert("Message", AlertStyle::Critical), {});
        QVERIFY(QTest::qWaitForWindowActive(shown()));
        const QPoint away = shown()->frameGeometry().center() - window.frameGeometry().center();
        QVERIFY2(away.manhattanLength() <= 8, qPrintable(QString("%1, %2").arg(away.x()).arg(away.y())));
        QStringList clicked;
        for (QPushButton *each : {&window, &other}) {
            connect(each, &QPushButton::clicked, this, [&clicked, each] { clicked.append(each->text()); });
            QTest::mouseClick(each->windowHandle(), Qt::LeftButton, {}, QPoint(20, 10));
        }
        QCOMPARE(clicked, QStringList("other"));
    }

    /// An alert may be shown for days.
    void anAlertThatStandsFollowsThePaletteAndTheFont() {
        ApplicationLook look;
        QtAlertPresenter presenter;
        presenter.present(
            {.messageText = "Message", .informativeText = "An explanation of a few words", .button = "OK"},
            {});
        QVERIFY(QTest::qWaitForWindowExposed(shown()));
        auto *const message = shown()->findChild<QLabel *>("qt_msgbox_label");
        auto *const explanation = shown()->findChild<QLabel *>("qt_msgbox_informativelabel");
        const QImage icon = shown()->iconPixmap().toImage();
        look.setPalette(Theme::darkPalette());
        QTRY_VERIFY(shown()->iconPixmap().toImage() != icon);
        for (const int points : {18, 7}) {
            look.setPointSize(points);
            QTRY_COMPARE(message->font(), Theme::headline());
            QTRY_VERIFY(qAbs(explanation->minimumWidth() -
                             explanation->fontMetrics().horizontalAdvance(explanation->text())) < 10);
        }
    }

    void aWindowClosedUnderAnAlertLeavesTheAlert() {
        QtAlertPresenter presenter;
        auto window = std::make_unique<QWidget>();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        int dismissed = 0;
        presenter.present(alert("Message"), [&] { ++dismissed; });
        window->close();
        QCoreApplication::processEvents();
        QVERIFY(shown());
        window.reset();
        QCoreApplication::processEvents();
        QVERIFY(shown());
        QCOMPARE(dismissed, 0);
        QTest::mouseClick(onlyButton(shown()), Qt::LeftButton);
        QTRY_COMPARE(dismissed, 1);
    }

    void anAnswerMayBringTheNextAlert() {
        QtAlertPresenter presenter;
        bool secondDismissed = false;
        presenter.present(alert("first"),
                          [&] { presenter.present(alert("second"), [&] { secondDismissed = true; }); });
        QTest::mouseClick(onlyButton(shown()), Qt::LeftButton);
        QTRY_VERIFY(shown() && shown()->text() == "second");
        waitForANewClick();
        QTest::mouseClick(onlyButton(shown()), Qt::LeftButton);
        QTRY_VERIFY(secondDismissed);
    }

    void textsAreShownAsTheyAre() {
        QtAlertPresenter presenter;
        presenter.present({.style = AlertStyle::Warning,
                           .messageText = "<b>&amp;</b> & co",
                           .informativeText = "<i>no such file</i> & folder",
                           .button = "Save & Go"},
                          {});
        for (QLabel *label : shown()->findChildren<QLabel *>()) {
            if (!label->text().isEmpty())
                QCOMPARE(label->textFormat(), Qt::PlainText);
        }
        QCOMPARE(QAccessible::queryAccessibleInterface(onlyButton(shown()))->text(QAccessible::Name),
                 QString("Save & Go"));
    }

    void aPresenterThatGoesTakesItsAlertsUnanswered() {
        int dismissed = 0;
        {
            QtAlertPresenter presenter;
            presenter.present(alert("first"), [&] { ++dismissed; });
            presenter.present(alert("second"), [&] { ++dismissed; });
        }
        QCoreApplication::processEvents();
        QVERIFY(!shown());
        QCOMPARE(dismissed, 0);
    }
};

TEST_CLASS(QtAlertPresenterTest, QApplication)
#include "QtAlertPresenterTest.moc"

#include "AppVars.h"
#include "DesktopNotifications.h"
#include "FirstTimeNotices.h"
#include "Listener.h"
#include "OpenAtLogin.h"
#include "PracticeLoginItem.h"
#include "RecordingAlerts.h"
#include "Supervision.h"
#include "TestProgram.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace ferrolt;
using WayBack = FirstTimeNotices::WayBack;

namespace {

/// A desktop that shows everything, or nothing.
struct PracticeNotifications : DesktopNotifications {
    bool isThere = true;
    QList<Notification> shown;
    std::function<void()> press;

    void show(const Notification &notification, std::function<void()> taken,
              std::function<void()> pressed) override {
        if (!isThere)
            return;
        shown << notification;
        press = std::move(pressed);
        taken();
    }
};

/// A run of the program.
struct Run {
    PracticeNotifications desktop;
    PracticeLoginItem::Facts atLogin;
    OpenAtLogin openAtLogin;
    FirstTimeNotices notices;

    Run(const std::shared_ptr<AppVars> &vars, const QString &stateFile)
        : openAtLogin(std::make_unique<PracticeLoginItem>(atLogin), std::make_shared<RecordingAlerts>()),
          notices(vars, openAtLogin, desktop, stateFile) {}
};

}  // namespace

class FirstTimeNoticesTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> folder;
    QString stateFile() const { return folder->filePath("below/notices.json"); }

    Listener port;

    bool startBoth(Supervision &supervision) const {
        supervision.tree.writeEnginePort(std::to_string(port.port));
        supervision.start();
        return waitUntil(
            [&] { return supervision.vars->_isLumRunning && supervision.vars->_isQorClientRunning; });
    }

  private Q_SLOTS:
    void init() { folder = std::make_unique<QTemporaryDir>(); }

    void closingTheWindowSaysOnceEverThatBothRunOn() {
        Supervision supervision;
        QVERIFY(startBoth(supervision));
        {
            Run run(supervision.vars, stateFile());
            run.notices.windowClosed(WayBack::SecondStart);
            run.notices.windowClosed(WayBack::SecondStart);
            QCOMPARE(run.desktop.shown.size(), 1);
            const QString body = run.desktop.shown[0].body;
            QVERIFY2(body.contains("Lumora Core and Qor Client run on"), qPrintable(body));
            QVERIFY2(body.contains("start the program again") && !body.contains("tray"), qPrintable(body));
            QCOMPARE(run.desktop.shown[0].button, QString());
        }
        Run second(supervision.vars, stateFile());
        second.notices.windowClosed(WayBack::SecondStart);
        QVERIFY(second.desktop.shown.isEmpty());
    }

    void withATrayItNamesTheIcon() {
        Supervision supervision;
        QVERIFY(startBoth(supervision));
        Run run(supervision.vars, stateFile());
        run.notices.windowClosed(WayBack::Tray);
        QVERIFY(run.desktop.shown.value(0).body.contains("click the icon in the tray"));
    }

    void whileNotBothRunItIsNotSaid() {
        Supervision supervision;
        supervision.create();
        Run run(supervision.vars, stateFile());
        run.notices.windowClosed(WayBack::Tray);
        QVERIFY(run.desktop.shown.isEmpty());
        QVERIFY(startBoth(supervision));
        Run other(supervision.vars, stateFile());
        supervision.vars->stopAll();  // as a quit does before the windows close
        other.notices.windowClosed(WayBack::Tray);
        QVERIFY(other.desktop.shown.isEmpty());
    }

    void whatNoDesktopHasShownIsToldInALaterRun() {
        Supervision supervision;
        QVERIFY(startBoth(supervision));
        Run run(supervision.vars, stateFile());
        run.desktop.isThere = false;
        run.notices.windowClosed(WayBack::Tray);
        Run second(supervision.vars, stateFile());
        second.notices.windowClosed(WayBack::Tray);
        QCOMPARE(second.desktop.shown.size(), 1);
    }

    void theSaveThatCompletesTheIdentityOffersTheLogInItemOnceEver() {
        Supervision supervision;
        supervision.tree.writeIdentity("ada@example.org", "");
        supervision.create();
        {
            Run run(supervision.vars, stateFile());
            run.notices.settingsSaved();
            QVERIFY(run.desktop.shown.isEmpty());
            supervision.tree.writeIdentity("ada@example.org", "Ada Lovelace");
            run.notices.settingsSaved();
            run.notices.settingsSaved();
            QCOMPARE(run.desktop.shown.size(), 1);
            QCOMPARE(run.desktop.shown[0].button, QString("Open at Login"));
            QCOMPARE(run.atLogin.state, LoginItem::State::Off);
            run.desktop.press();
            QCOMPARE(run.atLogin.state, LoginItem::State::On);
            QVERIFY(run.openAtLogin.action()->isChecked());
        }
        supervision.tree.writeIdentity("", "");
        Run second(supervision.vars, stateFile());
        supervision.tree.writeIdentity("ada@example.org", "Ada Lovelace");
        second.notices.settingsSaved();
        QVERIFY(second.desktop.shown.isEmpty());
    }

    void aCompleteIdentityThatIsSavedAgainOffersNothing() {
        Supervision supervision;
        supervision.create();
        Run run(supervision.vars, stateFile());
        run.notices.settingsSaved();
        QVERIFY(run.desktop.shown.isEmpty());
    }

    void aLogInItemThatIsOnIsNotOffered() {
        Supervision supervision;
        supervision.tree.writeIdentity("", "");
        supervision.create();
        Run run(supervision.vars, stateFile());
        run.atLogin.state = LoginItem::State::On;
        supervision.tree.writeIdentity("ada@example.org", "Ada Lovelace");
        run.notices.settingsSaved();
        QVERIFY(run.desktop.shown.isEmpty());
    }

    void eachNoticeIsRememberedForItself() {
        Supervision supervision;
        supervision.tree.writeIdentity("", "");
        QVERIFY(supervision.create()._isLumRunning == false);
        {
            Run run(supervision.vars, stateFile());
            supervision.tree.writeIdentity("ada@example.org", "Ada Lovelace");
            run.notices.settingsSaved();
            QCOMPARE(run.desktop.shown.size(), 1);
        }
        QVERIFY(startBoth(supervision));
        for (const qsizetype expected : {1, 0}) {
            Run run(supervision.vars, stateFile());
            run.notices.windowClosed(WayBack::Tray);
            QCOMPARE(run.desktop.shown.size(), expected);
        }
    }
};

TEST_CLASS(FirstTimeNoticesTest, QApplication)
#include "FirstTimeNoticesTest.moc"

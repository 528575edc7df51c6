#include "Listener.h"
#include "OpenAtLogin.h"
#include "PracticeLoginItem.h"
#include "RecordingAlerts.h"
#include "Supervision.h"
#include "Symbols.h"
#include "TestProgram.h"
#include "TrayItem.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QTest>

#include <csignal>
#include <filesystem>

using namespace ferrolt;

class TrayItemTest : public QObject {
    Q_OBJECT

    Listener port;
    PracticeLoginItem::Facts atLogin;

    static QStringList texts(const TrayItem &item) {
        QStringList texts;
        for (const QAction *action : item.systemIcon().contextMenu()->actions())
            texts << action->text().remove('&');
        return texts;
    }
    static bool hasStopMark(const TrayItem &item) {
        const auto picture = [](const QIcon &icon) { return icon.pixmap(64).toImage(); };
        return picture(item.systemIcon().icon()) == picture(stoppedApplicationIcon());
    }

    /// A supervisor whose children both run, and its tray item.
    struct Scene : Supervision {
        OpenAtLogin openAtLogin;
        std::unique_ptr<TrayItem> item;

        explicit Scene(TrayItemTest &test)
            : openAtLogin(std::make_unique<PracticeLoginItem>(test.atLogin),
                          std::make_shared<RecordingAlerts>()) {
            tree.writeEnginePort(std::to_string(test.port.port));
            create();
            item = std::make_unique<TrayItem>(vars, openAtLogin);
        }
        bool startBoth() {
            vars->startServices();
            return waitUntil([&] {
                return texts(*item).mid(0, 2) == QStringList{"Lumora Core, running", "Qor Client, running"};
            });
        }
    };

  private Q_SLOTS:
    void itsMenuHasTheStatusesTheWindowTheSwitchAndQuit() {
        Scene scene(*this);
        QCOMPARE(texts(*scene.item), (QStringList{"Lumora Core, stopped", "Qor Client, stopped", "", "Open",
                                                  "Open at Login", "", "Quit"}));
        const QList<QAction *> actions = scene.item->systemIcon().contextMenu()->actions();
        for (const QAction *action : actions)
            QCOMPARE(action->isEnabled(), !action->text().contains(", ") || action->isSeparator());
        QVERIFY(!hasStopMark(*scene.item));  // nothing has run yet
        QVERIFY(scene.startBoth());
        QVERIFY(!hasStopMark(*scene.item));
        atLogin.state = LoginItem::State::On;
        Q_EMIT scene.item->systemIcon().contextMenu()->aboutToShow();
        QVERIFY(scene.openAtLogin.action()->isChecked());
    }

    void aChildsOwnEndShowsTheStopMark() {
        Scene scene(*this);
        QVERIFY(scene.startBoth());
        kill(scene.vars->_qorcp.get()->processIdentifier(), SIGTERM);
        QVERIFY(waitUntil([&] { return hasStopMark(*scene.item); }));
        QCOMPARE(texts(*scene.item).mid(0, 2), (QStringList{"Lumora Core, stopped", "Qor Client, stopped"}));
    }

    void anEngineRestartShowsNoStopMark() {
        Scene scene(*this);
        QVERIFY(scene.startBoth());
        scene.vars->reloadEngine();
        QCoreApplication::sendPostedEvents(scene.item.get());
        QCOMPARE(texts(*scene.item).first(), QString("Lumora Core, stopped"));
        QVERIFY(!hasStopMark(*scene.item));
        QVERIFY(waitUntil([&] { return texts(*scene.item).first() == "Lumora Core, running"; }));
        QVERIFY(!hasStopMark(*scene.item));
    }

    void anEngineThatCannotBeRestartedShowsTheStopMark() {
        Scene scene(*this);
        QVERIFY(scene.startBoth());
        std::filesystem::remove(scene.tree.engine());
        scene.vars->reloadEngine();
        QVERIFY(waitUntil([&] { return hasStopMark(*scene.item); }));
    }
};

TEST_CLASS(TrayItemTest, QApplication)
#include "TrayItemTest.moc"

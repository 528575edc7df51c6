#include "AccessibleRoles.h"
#include "BringToFront.h"
#include "DesktopAppearance.h"
#include "DesktopNotifications.h"
#include "DesktopReopen.h"
#include "DesktopSession.h"
#include "DesktopTray.h"
#include "DisplayLoss.h"
#include "EndProcess.h"
#include "Ferrolt_Miner_LauncherApp.h"
#include "FirstTimeNotices.h"
#include "LauncherStyle.h"
#include "MainQueue.h"
#include "MainWindow.h"
#include "OpenAtLogin.h"
#include "ProcessSetup.h"
#include "ProgramFile.h"
#include "QtAlertPresenter.h"
#include "QtClipboard.h"
#include "QuitRequest.h"
#include "QuitSignals.h"
#include "SingleInstance.h"
#include "TrayItem.h"
#include "UpgradeOffer.h"

#include <QApplication>

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

using namespace ferrolt;

namespace {

/// A quit does not wait for the children. The next start waits for those that still run.
void rememberChildren(SingleInstance &instance, const AppVars &vars) {
    for (const auto &child : {vars._lump.get(), vars._qorcp.get()})
        if (child)
            instance.rememberChild(child->processIdentifier());
}

enum class Next { Nothing, NewVersion };

struct Ending {
    int exitCode = 0;
    Next next = Next::Nothing;
};

Ending runApplication(SingleInstance &instance, DesktopReopen &desktop, const ProgramFile &program) {
    QApplication::setQuitOnLastWindowClosed(false);  // the services run on behind a closed window
    installAccessibleRoles();
    LauncherStyle::install();
    const auto appearance = DesktopAppearance::follow();

    const auto alerts = std::make_shared<QtAlertPresenter>();
    Ferrolt_Miner_LauncherApp app{Seams(alerts)};
    AppDelegate &delegate = app.appDelegate();
    // Before the windows close and save their state: the children must not wait for that. And a start from
    // now on must not be handed over to a program that is ending.
    const auto end = [&] {
        delegate.applicationWillTerminate();
        instance.stopListening();
    };
    const QuitRequest quitRequest(end);
    // For an event loop that ends without a quit event.
    QObject::connect(qApp, &QApplication::aboutToQuit, &app, end);
    MainWindow window(app.appVars(), systemTime(), std::make_shared<QtClipboard>(),
                      MainWindow::defaultStateFile());
    delegate.setFirstWindow(&window);
    alerts->setMainWindow(&window);

    OpenAtLogin openAtLogin(LoginItem::ofUser(), alerts);
    window.setOpenAtLogin(openAtLogin);

    QObject::connect(&window, &MainWindow::contentAppeared, &app,
                     &Ferrolt_Miner_LauncherApp::windowContentAppeared);
    QObject::connect(&window, &MainWindow::quitRequested, qApp, &QApplication::quit);
    const QuitSignals signals([] { QApplication::quit(); });
    const DesktopSession session([&] { window.saveState(); });
    QObject::connect(app.appVars().get(), &AppVars::objectWillChange, &app, [&](AppVars::Change change) {
        if (change != AppVars::Change::State)
            return;
        // Queued, because AppVars announces changes before they happen.
        QMetaObject::invokeMethod(
            &app, [&] { rememberChildren(instance, *app.appVars()); }, Qt::QueuedConnection);
    });
    const auto reopen = [&](const std::string &activationToken = {}) {
        const bool hasVisibleWindows = window.isVisible() && !window.isMinimized();
        if (delegate.applicationShouldHandleReopen(hasVisibleWindows))
            bringToFront(window, activationToken);
    };
    Next next = Next::Nothing;
    UpgradeOffer upgrade([&] { return program.isReplaced(); }, window);
    QObject::connect(&upgrade, &UpgradeOffer::accepted, qApp, [&] {
        next = Next::NewVersion;
        QApplication::quit();
    });
    // A window that has to be shown first has no position yet for the question.
    QObject::connect(&window, &MainWindow::contentAppeared, &upgrade, &UpgradeOffer::ask);
    instance.listen([&](const std::string &activationToken) {
        const bool isShown = window.isVisible();
        reopen(activationToken);
        if (isShown)
            upgrade.ask();
    });
    desktop.listen([&](bool hasVisibleWindows) {
        const bool isShown = window.isVisible();
        const bool handles = delegate.applicationShouldHandleReopen(hasVisibleWindows);
        if (isShown)
            upgrade.ask();
        return handles;
    });
    std::unique_ptr<TrayItem> trayItem;
    const auto tray = DesktopTray::watch([&] {
        trayItem = std::make_unique<TrayItem>(app.appVars(), openAtLogin);
        QObject::connect(trayItem.get(), &TrayItem::openRequested, &window, [&] { reopen(); });
        QObject::connect(trayItem.get(), &TrayItem::quitRequested, qApp, &QApplication::quit);
        trayItem->addUpgrade(upgrade);
    });

    const auto notifications = DesktopNotifications::ofDesktop();
    FirstTimeNotices notices(app.appVars(), openAtLogin, *notifications,
                             FirstTimeNotices::defaultStateFile());
    QObject::connect(&window, &MainWindow::closing, &notices, [&] {
        notices.windowClosed(trayItem ? FirstTimeNotices::WayBack::Tray
                                      : FirstTimeNotices::WayBack::SecondStart);
    });
    QObject::connect(&window, &MainWindow::settingsSaved, &notices, &FirstTimeNotices::settingsSaved);

    MainQueue::async([&] {
        delegate.applicationDidFinishLaunching();
        qunsetenv("XDG_ACTIVATION_TOKEN");  // a token is valid once; a later window must not use it
    });
    const int exitCode = QApplication::exec();
    return {exitCode, next};
}

int run(int argc, char **argv) {
    setUpProcess();
    const ProgramFile program;

    SingleInstance instance(PathRoots().home);
    switch (instance.start()) {
        case SingleInstance::Start::First:
            break;
        case SingleInstance::Start::HandedOver:
            return 0;
        case SingleInstance::Start::Unanswered:
            std::fputs("Another Ferrolt Miner Launcher is running but does not answer.\n", stderr);
            return 1;
    }

    DesktopReopen desktop;
    endWithTheDisplay();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("ferrolt-miner-launcher"));
    QApplication::setApplicationDisplayName(QStringLiteral("Ferrolt Miner Launcher"));
    QApplication::setDesktopFileName(QStringLiteral("ferrolt-miner-launcher"));
    const Ending ending = runApplication(instance, desktop, program);
    if (ending.next == Next::NewVersion)
        if (const auto error = program.startReplacement())
            std::fprintf(stderr, "The new version cannot be started: %s\n",
                         error->localizedDescription().c_str());
    // All that must be saved is saved. The destructor of the application object still hands the clipboard
    // over to the desktop.
    endProcessSoon(ending.exitCode);
    return ending.exitCode;
}

}  // namespace

int main(int argc, char **argv) {
    endProcess(run(argc, argv));
}

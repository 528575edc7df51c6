#include "AccessibleRoles.h"
#include "BringToFront.h"
#include "DesktopAppearance.h"
#include "DesktopReopen.h"
#include "DesktopSession.h"
#include "DesktopTray.h"
#include "EndProcess.h"
#include "Ferrolt_Miner_LauncherApp.h"
#include "LauncherStyle.h"
#include "MainQueue.h"
#include "MainWindow.h"
#include "ProcessSetup.h"
#include "QtAlertPresenter.h"
#include "QtClipboard.h"
#include "QuitRequest.h"
#include "QuitSignals.h"
#include "SingleInstance.h"
#include "TrayItem.h"

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

int runApplication(SingleInstance &instance, DesktopReopen &desktop) {
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
    instance.listen(reopen);
    desktop.listen(
        [&](bool hasVisibleWindows) { return delegate.applicationShouldHandleReopen(hasVisibleWindows); });
    std::unique_ptr<TrayItem> trayItem;
    const auto tray = DesktopTray::watch([&] {
        trayItem = std::make_unique<TrayItem>(app.appVars());
        QObject::connect(trayItem.get(), &TrayItem::openRequested, &window, [&] { reopen(); });
        QObject::connect(trayItem.get(), &TrayItem::quitRequested, qApp, &QApplication::quit);
    });

    MainQueue::async([&] {
        delegate.applicationDidFinishLaunching();
        qunsetenv("XDG_ACTIVATION_TOKEN");  // a token is valid once; a later window must not use it
    });
    return QApplication::exec();
}

int run(int argc, char **argv) {
    setUpProcess();

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
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("ferrolt-miner-launcher"));
    QApplication::setApplicationDisplayName(QStringLiteral("Ferrolt Miner Launcher"));
    QApplication::setDesktopFileName(QStringLiteral("ferrolt-miner-launcher"));
    const int exitCode = runApplication(instance, desktop);
    // All that must be saved is saved. The destructor of the application object still hands the clipboard
    // over to the desktop.
    endProcessSoon(exitCode);
    return exitCode;
}

}  // namespace

int main(int argc, char **argv) {
    endProcess(run(argc, argv));
}

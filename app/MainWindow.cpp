#include "MainWindow.h"

#include "AboutDialog.h"
#include "BringToFront.h"
#include "ConsoleActions.h"
#include "ContentView.h"
#include "HomeLogView.h"
#include "MainMenu.h"
#include "MainQueue.h"
#include "MenuButton.h"
#include "OpenAtLogin.h"
#include "Sidebar.h"
#include "StateFolder.h"
#include "Symbols.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QMenuBar>
#include <QScreen>
#include <QShortcut>
#include <QShowEvent>
#include <QWindow>

#include <utility>

namespace ferrolt {
namespace {

/// The title bar and the borders. Their real sizes are known only after the window is shown.
constexpr QSize frameAllowance(16, 48);

}  // namespace

MainWindow::MainWindow(std::shared_ptr<AppVars> appVars, std::shared_ptr<TimeSource> time,
                       std::shared_ptr<Clipboard> clipboard, QString stateFile)
    : stateFile(std::move(stateFile)),
      appVars(std::move(appVars)),
      time(std::move(time)),
      clipboard(std::move(clipboard)) {
    setWindowTitle(QStringLiteral("Ferrolt Miner Launcher"));
    setWindowIcon(applicationIcon());
    restoreState();
    // Where the desktop shows menu bars outside of windows, it shows this one, even while the window is
    // closed. A menu bar inside the window would take a whole row for a few commands.
    auto *bar = new QMenuBar(this);
    if (bar->isNativeMenuBar()) {
        setMenuBar(bar);
        makeContent();
    } else {
        delete bar;
    }
    connect(qApp, &QCoreApplication::aboutToQuit, this, &MainWindow::saveState);
    for (QScreen *const screen : QGuiApplication::screens())
        followScale(screen);
    connect(qApp, &QGuiApplication::screenAdded, this, &MainWindow::followScale);
}

QString MainWindow::defaultStateFile() {
    return stateFolder() + QStringLiteral("/window.json");
}

ContentView *MainWindow::content() {
    if (view == nullptr)
        makeContent();
    return view;
}

void MainWindow::makeContent() {
    view = new ContentView(appVars, time, clipboard);
    connect(view, &ContentView::settingsSaved, this, &MainWindow::settingsSaved);
    consoles = new ConsoleActions(this);
    connect(view, &ContentView::logsMade, consoles, [actions = consoles](HomeLogView *logs) {
        actions->add(logs->lumoraConsole());
        actions->add(logs->qorClientConsole());
    });
    menu = new MainMenu(this, *consoles, appVars);
    makeMenu();
    setCentralWidget(view);
    view->resize(size());
    view->setSidebarWidth(savedState.sidebarWidth);
    view->setUpperLogShare(savedState.upperLogShare);
    view->refresh();
}

void MainWindow::makeMenu() {
    connect(menu, &MainMenu::aboutRequested, this, &MainWindow::showAbout);
    connect(menu, &MainMenu::closeRequested, this, &QWidget::close);
    connect(menu, &MainMenu::quitRequested, this, &MainWindow::quitRequested);

    if (menuWidget() != nullptr) {
        menu->fill(menuBar());
    } else {  // a button opens all commands as one menu
        view->sidebar()->setMenu(menu->compactMenu());
        auto *openMenu = new QShortcut(QKeySequence(Qt::Key_F10), this);
        connect(openMenu, &QShortcut::activated, view->sidebar()->menuButton(), &MenuButton::showMenu);
    }
    addOpenAtLogin();
}

void MainWindow::setOpenAtLogin(OpenAtLogin &item) {
    openAtLogin = &item;
    addOpenAtLogin();
}

void MainWindow::addOpenAtLogin() {
    if (menu == nullptr || openAtLogin == nullptr)
        return;
    menu->setOpenAtLogin(openAtLogin->action());
    openAtLogin->followMenus();
}

void MainWindow::showAbout() {
    if (about == nullptr)
        about = new AboutDialog(clipboard, this);
    about->show();
    about->raise();
    about->activateWindow();
}

/// Workaround for Qt 6.4 on X11: when the desktop changes its scale, Qt takes the new scale over, but neither
/// resizes the windows nor repaints their contents.
void MainWindow::followScale(QScreen *screen) {
    const auto adapt = [this, screen] {
        if (windowHandle() == nullptr || windowHandle()->screen() != screen)
            return;
        const QSize available = screen->availableSize() - frameAllowance;
        const bool isNormal = !isMaximized() && !isFullScreen();
        windowHandle()->resize(isNormal ? size().boundedTo(available) : size());
        QEvent scaleChange(QEvent::ScreenChangeInternal);
        QCoreApplication::sendEvent(windowHandle(), &scaleChange);
    };
    // Queued: Qt emits the signal before it applies the new scale.
    connect(screen, &QScreen::logicalDotsPerInchChanged, this, adapt, Qt::QueuedConnection);
}

void MainWindow::restoreState() {
    savedState = WindowState::load(stateFile);
    QSize size = savedState.size.expandedTo({ContentView::minimumWidth, ContentView::minimumHeight});
    if (const QScreen *const screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableSize() - frameAllowance);
    resize(size);
    if (savedState.isMaximized)
        setWindowState(windowState() | Qt::WindowMaximized);
}

WindowState MainWindow::state() const {
    WindowState state;
    state.isMaximized = isMaximized();
    const QSize normal = normalGeometry().size();
    state.size = (isMaximized() || isFullScreen()) && !normal.isEmpty() ? normal : size();
    state.sidebarWidth = view != nullptr ? view->sidebarWidth() : savedState.sidebarWidth;
    state.upperLogShare = view != nullptr ? view->upperLogShare() : savedState.upperLogShare;
    return state;
}

void MainWindow::saveState() {
    assertMainThread();
    savedState = state();
    savedState.save(stateFile);
}

void MainWindow::setVisible(bool isVisible) {
    if (isVisible)
        content();
    QMainWindow::setVisible(isVisible);
}

void MainWindow::showEvent(QShowEvent *event) {
    QMainWindow::showEvent(event);
    if (event->spontaneous() || isBeingShownAgain(*this))
        return;
    isAppearing = true;
    windowHandle()->installEventFilter(this);
    // The screen that the window was on may have been removed.
    if (const QScreen *const screen = QGuiApplication::primaryScreen();
        screen != nullptr && testAttribute(Qt::WA_Moved) && !QGuiApplication::screenAt(geometry().center()))
        move(screen->availableGeometry().topLeft());
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event) {
    // The content is painted while this event is handled; a queued call runs after that.
    if (watched == windowHandle() && event->type() == QEvent::Expose && windowHandle()->isExposed() &&
        std::exchange(isAppearing, false))
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (isVisible())  // and not closed again meanwhile
                    Q_EMIT contentAppeared();
            },
            Qt::QueuedConnection);
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::closeEvent(QCloseEvent *event) {
    const bool wasVisible = isVisible();
    QMainWindow::closeEvent(event);
    if (wasVisible && event->isAccepted())
        Q_EMIT closing();
}

void MainWindow::hideEvent(QHideEvent *event) {
    QMainWindow::hideEvent(event);
    if (event->spontaneous() || isBeingShownAgain(*this))
        return;
    isAppearing = false;
    if (about != nullptr)
        about->close();
    // Qt 6 destroys the native window on close. The window manager would place the next one anew unless a
    // position is set.
    if (!isMaximized() && !isFullScreen())
        windowHandle()->setFramePosition(windowHandle()->framePosition());
    // Unless something changed, closing the window does not wait for the disk.
    if (state() != savedState)
        saveState();
}

}  // namespace ferrolt

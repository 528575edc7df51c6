#include "MainWindow.h"

#include "ContentView.h"
#include "MainMenu.h"
#include "MenuButton.h"
#include "Sidebar.h"
#include "StateFolder.h"
#include "Symbols.h"
#include "WindowStateFile.h"

#include <QGuiApplication>
#include <QMenuBar>
#include <QScreen>
#include <QShortcut>
#include <QShowEvent>
#include <QWindow>

#include <utility>

namespace ferrolt {

MainWindow::MainWindow(std::shared_ptr<AppVars> appVars, std::shared_ptr<TimeSource> time,
                       std::shared_ptr<Clipboard> clipboard, QString stateFile)
    : stateFile(std::make_unique<WindowStateFile>(std::move(stateFile))),
      view(new ContentView(std::move(appVars), std::move(time), std::move(clipboard))),
      menu(new MainMenu(this)) {
    setWindowTitle(QStringLiteral("Ferrolt Miner Launcher"));
    setWindowIcon(applicationIcon());
    setCentralWidget(view);
    makeMenu();
    restoreState();
    connect(qApp, &QCoreApplication::aboutToQuit, this, &MainWindow::saveState);
}

MainWindow::~MainWindow() = default;

QString MainWindow::defaultStateFile() {
    return stateFolder() + QStringLiteral("/window.json");
}

void MainWindow::makeMenu() {
    connect(menu, &MainMenu::closeRequested, this, &QWidget::close);
    connect(menu, &MainMenu::quitRequested, this, &MainWindow::quitRequested);

    // Where the desktop shows menu bars outside of windows, the window's own is shown there; a bar inside
    // would be a strip for four commands, so there they go behind a button.
    auto *bar = new QMenuBar(this);
    if (bar->isNativeMenuBar()) {
        menu->fill(bar);
        setMenuBar(bar);
        return;
    }
    delete bar;
    view->sidebar()->setMenu(menu->compactMenu());
    auto *openMenu = new QShortcut(QKeySequence(Qt::Key_F10), this);
    connect(openMenu, &QShortcut::activated, view->sidebar()->menuButton(), &MenuButton::showMenu);
}

void MainWindow::restoreState() {
    const WindowState state = stateFile->load();
    QSize size = state.size.expandedTo(view->minimumSize());
    if (const QScreen *const screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableSize());
    resize(size);
    view->resize(size);
    view->setSidebarWidth(state.sidebarWidth);
    view->setUpperLogShare(state.upperLogShare);
    if (state.isMaximized)
        setWindowState(windowState() | Qt::WindowMaximized);
}

WindowState MainWindow::state() const {
    WindowState state;
    state.isMaximized = isMaximized();
    const QSize normal = normalGeometry().size();
    state.size = (isMaximized() || isFullScreen()) && !normal.isEmpty() ? normal : size();
    state.sidebarWidth = view->sidebarWidth();
    state.upperLogShare = view->upperLogShare();
    return state;
}

void MainWindow::saveState() {
    stateFile->saveNow(state());
}

void MainWindow::showEvent(QShowEvent *event) {
    QMainWindow::showEvent(event);
    if (event->spontaneous())
        return;
    contentIsToAppear = true;
    windowHandle()->installEventFilter(this);
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event) {
    // The content is painted while this event is handled, and what is queued now comes after that.
    if (watched == windowHandle() && event->type() == QEvent::Expose && windowHandle()->isExposed() &&
        std::exchange(contentIsToAppear, false))
        QMetaObject::invokeMethod(this, &MainWindow::contentAppeared, Qt::QueuedConnection);
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::hideEvent(QHideEvent *event) {
    QMainWindow::hideEvent(event);
    if (event->spontaneous())
        return;
    contentIsToAppear = false;
    stateFile->saveSoon(state());
}

}  // namespace ferrolt

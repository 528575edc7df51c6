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
namespace {

/// For the title bar and the borders, whose sizes are known only once the window is shown.
constexpr QSize roomForFrame(16, 48);

}  // namespace

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
    for (QScreen *const screen : QGuiApplication::screens())
        followScale(screen);
    connect(qApp, &QGuiApplication::screenAdded, this, &MainWindow::followScale);
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

/// On X11 Qt 6.4 takes over a scale that the desktop changes, but leaves windows at their size in device
/// pixels and what is drawn in them as it is.
void MainWindow::followScale(QScreen *screen) {
    const auto adapt = [this, screen] {
        if (windowHandle() == nullptr || windowHandle()->screen() != screen)
            return;
        const QSize available = screen->availableSize() - roomForFrame;
        const bool isFree = !isMaximized() && !isFullScreen();
        const QSize wanted = isFree ? size().boundedTo(available) : size();
        windowHandle()->resize(wanted);
        QEvent scaleHasChanged(QEvent::ScreenChangeInternal);
        QCoreApplication::sendEvent(windowHandle(), &scaleHasChanged);
    };
    // Queued: the signal comes before the new scale counts.
    connect(screen, &QScreen::logicalDotsPerInchChanged, this, adapt, Qt::QueuedConnection);
}

void MainWindow::restoreState() {
    const WindowState state = stateFile->load();
    QSize size = state.size.expandedTo(view->minimumSize());
    if (const QScreen *const screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableSize() - roomForFrame);
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
    // The screen that it was on may be gone.
    if (const QScreen *const screen = QGuiApplication::primaryScreen();
        screen != nullptr && testAttribute(Qt::WA_Moved) && !QGuiApplication::screenAt(geometry().center()))
        move(screen->availableGeometry().topLeft());
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
    // Closing destroys the window of the desktop (Qt 6), and a new one is placed by the window manager unless
    // a place is asked for.
    if (!isMaximized() && !isFullScreen())
        windowHandle()->setFramePosition(windowHandle()->framePosition());
    stateFile->saveSoon(state());
}

}  // namespace ferrolt

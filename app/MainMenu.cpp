#include "MainMenu.h"

#include "AppVars.h"
#include "ConsoleActions.h"
#include "MainQueue.h"

#include <QAction>
#include <QEvent>
#include <QMenu>
#include <QMenuBar>
#include <QWidget>

#include <utility>

namespace ferrolt {

MainMenu::MainMenu(QWidget *window, ConsoleActions &consoles, std::shared_ptr<AppVars> appVars)
    : QObject(window), window(window), consoles(consoles), appVars(std::move(appVars)) {
    assertMainThread();
    home = add(QStringLiteral("&Home"), QKeySequence(Qt::ALT | Qt::Key_Home));
    // Not QKeySequence::Preferences, which has no key on some desktops.
    settings = add(QStringLiteral("Se&ttings"), QKeySequence(Qt::CTRL | Qt::Key_Comma));
    settings->setMenuRole(QAction::PreferencesRole);
    about = add(QStringLiteral("A&bout Ferrolt Miner Launcher"), {});
    about->setMenuRole(QAction::AboutRole);
    close = add(QStringLiteral("C&lose"), QKeySequence(Qt::CTRL | Qt::Key_W));
    quit = add(QStringLiteral("&Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);
    connect(home, &QAction::triggered, this, [this] { showTab(AppVars::homeTab); });
    connect(settings, &QAction::triggered, this, [this] { showTab(AppVars::settingsTab); });
    connect(about, &QAction::triggered, this, &MainMenu::aboutRequested);
    connect(close, &QAction::triggered, this, &MainMenu::closeRequested);
    connect(quit, &QAction::triggered, this, &MainMenu::quitRequested);
    window->installEventFilter(this);
}

QAction *MainMenu::add(const QString &text, const QKeySequence &shortcut) {
    auto *action = new QAction(text, this);
    action->setShortcut(shortcut);
    window->addAction(action);
    return action;
}

void MainMenu::fill(QMenuBar *bar) {
    QMenu *file = bar->addMenu(QStringLiteral("&File"));
    file->addAction(consoles.saveLog);
    file->addSeparator();
    addSettingsTo(file);
    file->addAction(close);
    file->addSeparator();
    file->addAction(quit);
    QMenu *edit = bar->addMenu(QStringLiteral("&Edit"));
    edit->addActions({consoles.copy, consoles.selectAll});
    edit->addSeparator();
    edit->addActions({consoles.find, consoles.findNext, consoles.findPrevious});
    QMenu *view = bar->addMenu(QStringLiteral("&View"));
    view->addAction(home);
    view->addSeparator();
    view->addAction(consoles.newestEntry);
    QMenu *help = bar->addMenu(QStringLiteral("&Help"));
    help->addAction(about);
    for (QMenu *each : {file, edit, view, help})
        refreshFor(each);
}

QMenu *MainMenu::compactMenu() {
    auto *menu = new QMenu(window);
    menu->addActions({consoles.copy, consoles.selectAll});
    menu->addSeparator();
    menu->addActions({consoles.find, consoles.findNext, consoles.findPrevious});
    menu->addSeparator();
    menu->addActions({consoles.newestEntry, consoles.saveLog});
    menu->addSeparator();
    menu->addAction(home);
    addSettingsTo(menu);
    menu->addAction(about);
    menu->addSeparator();
    menu->addActions({close, quit});
    refreshFor(menu);
    return menu;
}

void MainMenu::addSettingsTo(QMenu *menu) {
    menu->addAction(settings);
    afterSettings.append({menu, menu->addSeparator()});
}

void MainMenu::setOpenAtLogin(QAction *action) {
    for (const auto &[menu, next] : std::as_const(afterSettings))
        menu->insertAction(next, action);
}

void MainMenu::refreshFor(QMenu *menu) {
    connect(menu, &QMenu::aboutToShow, &consoles, &ConsoleActions::refresh);
    connect(menu, &QMenu::aboutToShow, this, &MainMenu::refresh);
    // A screen reader's press on an item leaves the menu open in Qt 6.4.
    connect(menu, &QMenu::triggered, menu, &QWidget::close);
}

void MainMenu::refresh() {
    // A menu bar outside of the window is there while the window is closed, too.
    const bool isClosed = !window->isVisible();
    home->setEnabled(isClosed || appVars->_selectedTab.get() != AppVars::homeTab);
    settings->setEnabled(isClosed || appVars->_selectedTab.get() != AppVars::settingsTab);
    close->setEnabled(!isClosed);
}

bool MainMenu::eventFilter(QObject *watched, QEvent *event) {
    // Sent before a key is looked up among the shortcuts. The consoles' actions refresh themselves.
    if (event->type() == QEvent::ShortcutOverride)
        refresh();
    return QObject::eventFilter(watched, event);
}

void MainMenu::showTab(const QString &tab) {
    appVars->selectTab(tab);
    if (window->isVisible())
        return;
    window->show();
    window->activateWindow();
}

}  // namespace ferrolt

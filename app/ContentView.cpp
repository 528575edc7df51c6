#include "ContentView.h"

#include "AccessibleRoles.h"
#include "AppVars.h"
#include "ChangeFollower.h"
#include "HomeLogView.h"
#include "LauncherPrefs.h"
#include "LibreOfficeInstaller.h"
#include "MainQueue.h"
#include "MenuButton.h"
#include "PaneSplitter.h"
#include "ProgressStrip.h"
#include "Sidebar.h"

#include <QPointer>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace ferrolt {

ContentView::ContentView(std::shared_ptr<AppVars> appVars, std::shared_ptr<TimeSource> time,
                         std::shared_ptr<Clipboard> clipboard, QWidget *parent)
    : QWidget(parent), _appVars(std::move(appVars)), time(std::move(time)), clipboard(std::move(clipboard)) {
    if (!_appVars || !this->time || !this->clipboard)
        qFatal("The main window was built without the launcher state that it shows.");
    assertMainThread();
    installAccessibleRoles();
    setMinimumSize(minimumWidth, minimumHeight);

    column = new Sidebar;
    column->setFoot(new ProgressStrip(_appVars->libreOfficeInstaller->progress));
    detail = new QStackedWidget;

    columns = new PaneSplitter(Qt::Horizontal, QStringLiteral("Sidebar width"));
    // The sidebar draws the dividing line.
    columns->setHandleWidth(0);
    columns->addWidget(column);
    columns->addWidget(detail);
    columns->setStretchFactor(0, 0);
    columns->setStretchFactor(1, 1);
    setSidebarWidth(Sidebar::idealColumnWidth);
    setTabOrder(column->menuButton(), columns->handle(1));

    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(columns);

    connect(column, &Sidebar::tabChosen, this, [this](const QString &tab) { _appVars->selectTab(tab); });
    auto *follower = new ChangeFollower(this, [this] { refresh(); });
    connect(_appVars.get(), &AppVars::objectWillChange, follower, [follower](AppVars::Change change) {
        if (change == AppVars::Change::State)
            follower->changeAnnounced();
    });
}

HomeLogView *ContentView::homeLogs() {
    if (home == nullptr) {
        home = new HomeLogView(_appVars, time, clipboard);
        home->setUpperShare(shareToCome);
        detail->addWidget(home);
        Q_EMIT logsMade(home);
    }
    return home;
}

int ContentView::sidebarWidth() const {
    return columns->sizes().constFirst();
}

void ContentView::setSidebarWidth(int width) {
    const int bounded = std::clamp(width, Sidebar::minimumColumnWidth, Sidebar::maximumColumnWidth);
    // Before the first layout the splitter has no width yet and only the sizes' ratio counts.
    const int whole = std::max(columns->width(), minimumWidth);
    columns->setSizes({bounded, whole - bounded});
}

double ContentView::upperLogShare() const {
    return home != nullptr ? home->upperShare() : shareToCome;
}

void ContentView::setUpperLogShare(double share) {
    shareToCome = share;
    if (home != nullptr)
        home->setUpperShare(share);
}

void ContentView::refresh() {
    column->showSelectedTab(_appVars->_selectedTab);
    column->showLumoraCore(_appVars->_isLumRunning);
    column->showQorClient(_appVars->_isQorClientRunning);
    column->showPermanentStop(_appVars->_isPermanentlyStopped);
    detail->setCurrentWidget(page(_appVars->_selectedTab.get().value_or(AppVars::homeTab)));
}

/// Builds the form when it is first shown: most runs never show it. The first run shows nothing else.
QWidget *ContentView::page(const QString &tab) {
    if (tab != AppVars::settingsTab)
        return homeLogs();
    if (!prefs) {
        const auto startServices = [weakVars = std::weak_ptr(_appVars), self = QPointer(this)] {
            if (const auto vars = weakVars.lock())
                vars->startServices();
            if (self)
                Q_EMIT self->settingsSaved();
        };
        prefs = new LauncherPrefs(startServices, time);
        detail->addWidget(prefs);
    }
    return prefs;
}

}  // namespace ferrolt

#include "TrayItem.h"

#include "AppVars.h"
#include "MainQueue.h"
#include "OpenAtLogin.h"
#include "StatusRow.h"
#include "Symbols.h"
#include "UpgradeOffer.h"

#include <QAction>
#include <QGuiApplication>
#include <QMenu>
#include <QSystemTrayIcon>

#include <utility>

namespace ferrolt {

TrayItem::TrayItem(std::shared_ptr<AppVars> appVars, OpenAtLogin &openAtLogin)
    : appVars(std::move(appVars)),
      menu(std::make_unique<QMenu>()),
      lumoraStatus(menu->addAction(QString())),
      qorClientStatus(menu->addAction(QString())),
      icon(std::make_unique<QSystemTrayIcon>(applicationIcon())) {
    lumoraStatus->setEnabled(false);
    qorClientStatus->setEnabled(false);
    menu->addSeparator();
    connect(menu->addAction(QStringLiteral("&Open")), &QAction::triggered, this, &TrayItem::openRequested);
    menu->addAction(openAtLogin.action());
    openAtLogin.followMenus();
    menu->addSeparator();
    connect(menu->addAction(QStringLiteral("&Quit")), &QAction::triggered, this, &TrayItem::quitRequested);
    icon->setContextMenu(menu.get());
    connect(icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // Of a double click the first click has already opened the window; other buttons open the menu.
        if (reason == QSystemTrayIcon::Trigger)
            Q_EMIT openRequested();
    });
    connect(this->appVars.get(), &AppVars::objectWillChange, this, [this](AppVars::Change change) {
        // Queued: AppVars announces changes before they happen.
        if (change == AppVars::Change::State)
            QMetaObject::invokeMethod(this, &TrayItem::refresh, Qt::QueuedConnection);
    });
    assertMainThread();
    refresh();
    icon->show();
}

// The icon must be destroyed before the menu that it shows.
TrayItem::~TrayItem() {
    icon.reset();
}

void TrayItem::addUpgrade(UpgradeOffer &offer) {
    menu->insertAction(menu->actions().last(), offer.action());
    connect(menu.get(), &QMenu::aboutToShow, &offer, &UpgradeOffer::refresh);
}

void TrayItem::refresh() {
    const bool isLumoraRunning = appVars->_isLumRunning;
    const bool isQorClientRunning = appVars->_isQorClientRunning;
    // The texts of the status rows in the window.
    lumoraStatus->setText(StatusRow::words(QStringLiteral("Lumora Core"), isLumoraRunning));
    qorClientStatus->setText(StatusRow::words(QStringLiteral("Qor Client"), isQorClientRunning));
    const QString text = QGuiApplication::applicationDisplayName() + QLatin1Char('\n') +
                         lumoraStatus->text() + QLatin1Char('\n') + qorClientStatus->text();
    if (text != icon->toolTip())
        icon->setToolTip(text);

    hasLumoraRun = hasLumoraRun || isLumoraRunning;
    hasQorClientRun = hasQorClientRun || isQorClientRunning;
    const bool isStopped = !appVars->isOrbixReloadInProgress() &&
                           ((hasLumoraRun && !isLumoraRunning) || (hasQorClientRun && !isQorClientRunning));
    if (std::exchange(isStopShown, isStopped) != isStopped)
        icon->setIcon(isStopped ? stoppedApplicationIcon() : applicationIcon());
}

}  // namespace ferrolt

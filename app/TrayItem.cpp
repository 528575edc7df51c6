#include "TrayItem.h"

#include "AppVars.h"
#include "MainQueue.h"
#include "StatusRow.h"
#include "Symbols.h"
#include "UpgradeOffer.h"

#include <QAction>
#include <QGuiApplication>
#include <QMenu>
#include <QSystemTrayIcon>

#include <utility>

namespace ferrolt {

TrayItem::TrayItem(std::shared_ptr<AppVars> appVars)
    : appVars(std::move(appVars)),
      menu(std::make_unique<QMenu>()),
      icon(std::make_unique<QSystemTrayIcon>(applicationIcon())) {
    connect(menu->addAction(QStringLiteral("&Open")), &QAction::triggered, this, &TrayItem::openRequested);
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

QString TrayItem::statusText() const {
    return StatusRow::words(QStringLiteral("Lumora Core"), appVars->_isLumRunning) + QLatin1Char('\n') +
           StatusRow::words(QStringLiteral("Qor Client"), appVars->_isQorClientRunning);
}

void TrayItem::refresh() {
    const QString text = QGuiApplication::applicationDisplayName() + QLatin1Char('\n') + statusText();
    if (text != icon->toolTip())
        icon->setToolTip(text);
    if (appVars->_isPermanentlyStopped && !std::exchange(isStopShown, true))
        icon->setIcon(stoppedApplicationIcon());
}

}  // namespace ferrolt

#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace ferrolt {

class AppVars;
class OpenAtLogin;
class UpgradeOffer;

/// The program's item in the desktop's tray. Its tooltip and the first lines of its menu show the state of
/// the two services; its menu opens the window, switches "Open at Login" or quits. The icon has a stop mark
/// as long as a service that has run is stopped, but not while the engine is being restarted after an
/// installation. To be created when there is a tray (DesktopTray). If that ends and starts again, the item
/// reappears. Main thread.
class TrayItem : public QObject {
    Q_OBJECT

  public:
    TrayItem(std::shared_ptr<AppVars> appVars, OpenAtLogin &openAtLogin);
    ~TrayItem() override;

    /// Puts the offer's action above Quit. The offer must live longer.
    void addUpgrade(UpgradeOffer &offer);

    const QSystemTrayIcon &systemIcon() const { return *icon; }

  Q_SIGNALS:
    void openRequested();
    void quitRequested();

  private:
    void refresh();

    std::shared_ptr<AppVars> appVars;
    std::unique_ptr<QMenu> menu;
    QAction *lumoraStatus;
    QAction *qorClientStatus;
    std::unique_ptr<QSystemTrayIcon> icon;
    bool hasLumoraRun = false;
    bool hasQorClientRun = false;
    bool isStopShown = false;
};

}  // namespace ferrolt

#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace ferrolt {

class AppVars;
class UpgradeOffer;

/// The program's item in the desktop's tray. Its tooltip shows the state of the two services; its menu opens
/// the window or quits. After the permanent stop the icon has a stop mark. To be created when there is a tray
/// (DesktopTray). If that ends and starts again, the item reappears. Main thread.
class TrayItem : public QObject {
    Q_OBJECT

  public:
    explicit TrayItem(std::shared_ptr<AppVars> appVars);
    ~TrayItem() override;

    /// Puts the offer's action above Quit. The offer must live longer.
    void addUpgrade(UpgradeOffer &offer);

  Q_SIGNALS:
    void openRequested();
    void quitRequested();

  private:
    /// A line for each service, with the text of its status row in the window.
    QString statusText() const;
    void refresh();

    std::shared_ptr<AppVars> appVars;
    std::unique_ptr<QMenu> menu;
    std::unique_ptr<QSystemTrayIcon> icon;
    bool isStopShown = false;
};

}  // namespace ferrolt

#pragma once

#include <QWidget>

#include <memory>

class QStackedWidget;

namespace ferrolt {

class AppVars;
class Clipboard;
class HomeLogView;
class LauncherPrefs;
class PaneSplitter;
class Sidebar;
class TimeSource;

/// The content of the main window: the sidebar and, beside it, the two logs or the settings form, by
/// AppVars::_selectedTab. A click on a sidebar entry writes that field; other code selects a tab by writing
/// it too. Each of the two is made when it is first shown. Main thread.
class ContentView : public QWidget {
    Q_OBJECT

  public:
    static constexpr int minimumWidth = 800;
    static constexpr int minimumHeight = 500;

    /// No pointer may be null; the program ends otherwise.
    ContentView(std::shared_ptr<AppVars> appVars, std::shared_ptr<TimeSource> time,
                std::shared_ptr<Clipboard> clipboard, QWidget *parent = nullptr);

    Sidebar *sidebar() const { return column; }
    HomeLogView *homeLogs();

    /// Shows the state as it is. The view does so by itself while it is on screen and when it is shown again.
    /// To be called before the first time, or its first layout would lack the selected tab.
    void refresh();

    /// In logical pixels. Setting clamps to the sidebar's minimum and maximum width.
    int sidebarWidth() const;
    void setSidebarWidth(int width);

    /// The upper log's share of the height, from 0 to 1. Setting clamps to the logs' minimum heights.
    double upperLogShare() const;
    void setUpperLogShare(double share);

  Q_SIGNALS:
    /// The two logs have been made.
    void logsMade(HomeLogView *logs);
    /// The settings form was saved.
    void settingsSaved();

  private:
    QWidget *page(const QString &tab);

    std::shared_ptr<AppVars> _appVars;
    std::shared_ptr<TimeSource> time;
    std::shared_ptr<Clipboard> clipboard;
    Sidebar *column;
    HomeLogView *home = nullptr;
    double shareToCome = 0.5;  ///< until the logs are made
    LauncherPrefs *prefs = nullptr;
    QStackedWidget *detail;
    PaneSplitter *columns;
};

}  // namespace ferrolt

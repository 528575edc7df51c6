#pragma once

#include <QWidget>

#include <memory>

class QMenu;
class QStackedWidget;

namespace ferrolt {

class AppVars;
class Clipboard;
class HomeLogView;
class LauncherPrefs;
class PaneSplitter;
class Sidebar;
class TimeSource;

/// The content of the main window: the sidebar, and beside it the two logs or the settings form, whichever
/// AppVars::_selectedTab says. The user chooses a tab by writing that field, and whoever else writes it
/// chooses for the user.
class ContentView : public QWidget {
    Q_OBJECT

  public:
    static constexpr int minimumWidth = 800;
    static constexpr int minimumHeight = 500;

    /// All three must be there; the program ends otherwise.
    ContentView(std::shared_ptr<AppVars> appVars, std::shared_ptr<TimeSource> time,
                std::shared_ptr<Clipboard> clipboard, QWidget *parent = nullptr);

    Sidebar *sidebar() const { return column; }

    /// In logical pixels. Setting is bound by the column's own limits.
    int sidebarWidth() const;
    void setSidebarWidth(int width);

    /// Which part of the height the upper log has, from 0 to 1. Setting is bound by the logs' least heights.
    double upperLogShare() const;
    void setUpperLogShare(double share);

  private:
    void refresh();
    QWidget *page(const QString &tab);

    std::shared_ptr<AppVars> _appVars;
    std::shared_ptr<TimeSource> time;
    Sidebar *column;
    HomeLogView *home;
    LauncherPrefs *prefs = nullptr;
    QStackedWidget *detail;
    PaneSplitter *columns;
};

}  // namespace ferrolt

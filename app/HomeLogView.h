#pragma once

#include <QWidget>

#include <memory>

namespace ferrolt {

class AppVars;
class Clipboard;
class LogConsoleView;
class PaneSplitter;
class TimeSource;

/// The two live logs, one above the other, with a divider that the user can drag. Main thread only.
class HomeLogView : public QWidget {
    Q_OBJECT

  public:
    /// None of the three may be null: the program ends otherwise.
    HomeLogView(std::shared_ptr<AppVars> appVars, std::shared_ptr<TimeSource> time,
                std::shared_ptr<Clipboard> clipboard, QWidget *parent = nullptr);
    ~HomeLogView() override;

    LogConsoleView *lumoraConsole() const { return lumora; }
    LogConsoleView *qorClientConsole() const { return qorClient; }

    /// The share of the height that the user wants for the upper log, from 0 to 1. The logs' min heights may
    /// hold it off in a low window; it is there again in a higher one.
    double upperShare() const { return share; }
    void setUpperShare(double wanted);

  protected:
    void resizeEvent(QResizeEvent *event) override;

  private:
    void placeDivider();
    void dividerMoved();
    void refresh();

    std::shared_ptr<AppVars> _appVars;
    std::shared_ptr<TimeSource> time;
    std::shared_ptr<Clipboard> clipboard;
    PaneSplitter *panes;
    LogConsoleView *lumora;
    LogConsoleView *qorClient;
    double share = 0.5;
};

}  // namespace ferrolt

#pragma once

#include <QWidget>

#include <memory>
#include <optional>

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

    /// The upper log's share of the height, from 0 to 1. Setting it respects the logs' min heights.
    double upperShare() const;
    void setUpperShare(double share);

  protected:
    void showEvent(QShowEvent *event) override;

  private:
    void refresh();

    std::shared_ptr<AppVars> _appVars;
    std::shared_ptr<TimeSource> time;
    std::shared_ptr<Clipboard> clipboard;
    PaneSplitter *panes;
    LogConsoleView *lumora;
    LogConsoleView *qorClient;
    std::optional<double> shareToCome;  ///< until the view is shown
};

}  // namespace ferrolt

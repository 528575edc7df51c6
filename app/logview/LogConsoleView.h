#pragma once

#include "Clipboard.h"
#include "LogBuffer.h"
#include "TimeSource.h"

#include <QWidget>

#include <memory>

class QLabel;

namespace ferrolt {

class FindBar;
class LogSearch;
class LogTextArea;
class StatusBadge;
class SymbolButton;

/// One service's log as a framed panel: a header with the service's name, a button that copies the whole log
/// and a badge that says whether the service runs; below it the log itself, which follows its newest entry.
///
/// Main thread.
class LogConsoleView : public QWidget {
    Q_OBJECT

  public:
    /// `title` is shown verbatim; `bottomId` names the marker after the last entry. `lines`, `clipboard` and
    /// `time` must outlive the view.
    LogConsoleView(const QString &title, const LogBuffer &lines, const QString &bottomId,
                   Clipboard &clipboard, TimeSource &time, QWidget *parent = nullptr);

    /// Shown at once.
    void setRunning(bool isRunning);

    /// To be called whenever the log has changed or is about to. Costs next to nothing: the view reads the
    /// log from the event loop, once for some screen refreshes, and when it is next on screen if it is not
    /// now.
    void logChanged();

    LogTextArea &textArea() const { return *area; }

    /// As the keys for them do in the console: each shows the find bar first if need be.
    void find();
    void findNext();
    void findPrevious();

  protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    bool event(QEvent *event) override;

  private:
    void copyLog();
    void setDidCopy(bool didCopy);
    void refreshHeader();

    const LogBuffer &lines;
    Clipboard &clipboard;
    TimeSource &time;
    bool _didCopy = false;

    QWidget *const header;
    QLabel *const titleLabel;
    SymbolButton *const copyButton;
    StatusBadge *const badge;
    QWidget *const divider;
    FindBar *const findBar;
    LogTextArea *const area;
    LogSearch *const search;
};

}  // namespace ferrolt

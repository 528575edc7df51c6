#pragma once

#include "Clipboard.h"
#include "LogBuffer.h"
#include "TimeSource.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace ferrolt {

class Announcement;
class LogSearch;
class LogTextArea;
class StatusBadge;

/// One service's log as a framed panel: a header with the service's name, a button that copies the whole log
/// and a badge that says whether the service runs; below it the log itself, which follows its newest entry.
/// Between them, once it was asked for, a find bar, which Escape closes. Over the log, while its newest entry
/// is not on screen, a button that scrolls there.
///
/// Main thread.
class LogConsoleView : public QWidget {
    Q_OBJECT

  public:
    /// `title` is shown verbatim; `bottomId` names the marker after the last entry. `lines`, `clipboard` and
    /// `time` must outlive the view.
    LogConsoleView(const QString &title, const LogBuffer &lines, const QString &bottomId,
                   Clipboard &clipboard, TimeSource &time, QWidget *parent = nullptr);

    QString title() const;

    /// Shown at once.
    void setRunning(bool isRunning);

    /// To be called when the log has changed or is about to. Costs next to nothing: the view reads the log
    /// later, from the event loop, and not before it is on screen.
    void logChanged();

    LogTextArea &textArea() const { return *area; }

    /// Shows the find bar with the selected text or that last searched for, and puts the keyboard into it.
    void find();
    /// Go to the next or previous hit of the text last searched for, in whichever console; without one, as
    /// find().
    void findNext();
    void findPrevious();

  protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;
    bool event(QEvent *event) override;

  private:
    void copyLog();
    void setDidCopy(bool didCopy);
    void refreshHeader();
    LogSearch &search();

    const LogBuffer &lines;
    Clipboard &clipboard;
    TimeSource &time;
    bool _didCopy = false;

    QWidget *const header;
    QLabel *const titleLabel;
    QPushButton *const copyButton;
    StatusBadge *const badge;
    Announcement *const copied;  ///< says what the check mark shows; has no size
    QWidget *const divider;
    LogTextArea *const area;
    QVBoxLayout *const stack;
    LogSearch *logSearch = nullptr;  ///< with its find bar; none before the first search
};

}  // namespace ferrolt

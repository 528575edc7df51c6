#pragma once

#include "LogFinder.h"

#include <QBasicTimer>
#include <QObject>

namespace ferrolt {

class FindBar;
class LogTextArea;

/// Joins the find bar, the finder and the text area of one console: marks the hits, goes from hit to hit, and
/// shows how many there are. Searches in short portions from the event loop, until everything is counted.
///
/// The bar is hidden until open(). Main thread.
class LogSearch : public QObject {
    Q_OBJECT

  public:
    /// `area` and `bar` must outlive the search.
    LogSearch(LogTextArea &area, FindBar &bar, QObject *parent = nullptr);

    bool isOpen() const;
    /// Shows the bar, and puts the keyboard into it.
    void open();
    /// Hides the bar, and puts the keyboard into the text.
    void close();
    /// Go to the next or previous hit; open() instead while there is nothing to search for.
    void findNext();
    void findPrevious();

  protected:
    void timerEvent(QTimerEvent *event) override;

  private:
    bool isWorking() const { return finder.isSearching() || !finder.isCounted(); }
    void setNeedle(const QString &text);
    void find(Direction direction);
    void startSearch(LogPosition from, Direction direction);
    void work();
    void showResult();
    void speakSoon();

    LogTextArea &area;
    FindBar &bar;
    LogFinder finder;
    QBasicTimer workTimer;
    QBasicTimer speechTimer;
};

}  // namespace ferrolt

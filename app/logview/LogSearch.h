#pragma once

#include "LogFinder.h"

#include <QBasicTimer>
#include <QObject>

namespace ferrolt {

class FindBar;
class LogTextArea;

/// Brings the find bar, the finder and the text area of one console together: marks what is found, goes from
/// hit to hit, and says how many there are. The bar takes no room until open(). Searches in turns of the
/// event loop, and rests once everything is found.
class LogSearch : public QObject {
    Q_OBJECT

  public:
    /// `area` and `bar` must outlive the search.
    LogSearch(LogTextArea &area, FindBar &bar, QObject *parent = nullptr);

    bool isOpen() const;
    void open();
    void close();
    /// Open the bar first if need be.
    void findNext();
    void findPrevious();

  Q_SIGNALS:
    void openChanged(bool isOpen);

  protected:
    void timerEvent(QTimerEvent *event) override;

  private:
    void setNeedle(const QString &text);
    void searchFrom(LogPosition from, Direction direction);
    void goOn();
    void showResult();
    void speakSoon();

    LogTextArea &area;
    FindBar &bar;
    LogFinder finder;
    QBasicTimer timer;
    QBasicTimer speechTimer;
};

}  // namespace ferrolt

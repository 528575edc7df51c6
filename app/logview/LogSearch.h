#pragma once

#include "Clipboard.h"
#include "LogFinder.h"

#include <QBasicTimer>
#include <QObject>

namespace ferrolt {

class FindBar;
class LogTextArea;

/// Joins the find bar, the finder and the text area of one console: marks the hits, goes from hit to hit, and
/// shows how many there are. Searches in short portions from the event loop, until everything is counted.
///
/// The text last searched for is the clipboard's, so that all consoles share it. The bar is hidden until it
/// is opened, or until a search goes on. Main thread.
class LogSearch : public QObject {
    Q_OBJECT

  public:
    /// `area`, `bar` and `clipboard` must outlive the search.
    LogSearch(LogTextArea &area, FindBar &bar, Clipboard &clipboard, QObject *parent = nullptr);

    bool isOpen() const;
    /// Shows the bar with the selected text, or else with the text last searched for, and puts the keyboard
    /// into it. With the keyboard in the bar already, its text stays.
    void open();
    /// Hides the bar, and puts the keyboard into the text.
    void close();
    /// Show the bar and go to the next or previous hit of the text last searched for; while the keyboard is
    /// in the bar, of its text. open() instead while there is nothing to search for.
    void findNext();
    void findPrevious();

  protected:
    void timerEvent(QTimerEvent *event) override;

  private:
    bool isWorking() const { return finder.isSearching() || !finder.isCounted(); }
    QString selectedLine() const;
    void show(const QString &text);
    void setNeedle(const QString &text);
    void takeLastText();
    void find(Direction direction);
    void startSearch(LogPosition from, Direction direction);
    void work();
    void showResult();
    void speakSoon();

    LogTextArea &area;
    FindBar &bar;
    Clipboard &clipboard;
    LogFinder finder;
    QBasicTimer workTimer;
    QBasicTimer speechTimer;
};

}  // namespace ferrolt

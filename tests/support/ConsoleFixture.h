#pragma once

#include "Clipboard.h"
#include "ConsoleActions.h"
#include "LauncherStyle.h"
#include "LogBuffer.h"
#include "LogConsoleView.h"
#include "LogTextArea.h"
#include "ManualTime.h"
#include "NewestEntryButton.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ferrolt {

/// A clipboard that records the calls.
class RecordingClipboard : public Clipboard {
  public:
    void clearContents() override { calls.push_back("clear"); }
    void setText(std::vector<QByteArray> pieces) override {
        calls.push_back("set");
        text = join(pieces);
    }
    void offerSelection(std::vector<QByteArray> pieces) override { selection = join(pieces); }
    QString findText() const override { return lastSearched; }
    void setFindText(const QString &given) override { lastSearched = given; }

    std::vector<std::string> calls;
    QByteArray text;
    QByteArray selection;
    QString lastSearched;

  private:
    static QByteArray join(const std::vector<QByteArray> &pieces) {
        qsizetype size = 0;
        for (const QByteArray &piece : pieces)
            size += piece.size();
        QByteArray all;
        all.reserve(size);
        for (const QByteArray &piece : pieces)
            all += piece;
        return all;
    }
};

/// A console in a window, with everything that it refers to.
struct ConsoleFixture {
    explicit ConsoleFixture(const QString &title = QStringLiteral("Lumora Core Engine"))
        : view(title, log, QStringLiteral("lumBottom"), clipboard, time) {
        LauncherStyle::install();
        actions.add(&view);
    }

    /// Keeps the newest 1000 elements, as the launcher does.
    void append(const QByteArray &element) {
        log.append(element);
        if (log.size() > 1000)
            log.takeFirst();
        view.logChanged();
    }
    void appendLines(int count, const QByteArray &word = "line") {
        for (int i = 0; i < count; ++i)
            append(word + ' ' + QByteArray::number(i) + '\n');
    }
    void show(QSize size = {500, 300}) {
        view.resize(size);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&view));
    }
    /// Waits until the area has read the log.
    void appendAndWait(const QByteArray &element) {
        QSignalSpy refreshed(&area(), &LogTextArea::refreshed);
        append(element);
        QVERIFY(refreshed.wait(60000));
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(&area(), key, modifiers);
    }
    /// How many timers run in the console.
    qsizetype runningTimers() {
        qsizetype running = 0;
        for (QObject *child : view.findChildren<QObject *>())
            running += QAbstractEventDispatcher::instance()->registeredTimers(child).size();
        return running;
    }
    int scrolled() { return area().verticalScrollBar()->value(); }
    LogTextArea &area() { return view.textArea(); }
    QPushButton &copyButton() { return *view.findChild<QPushButton *>(); }
    NewestEntryButton &newestButton() { return *view.findChild<NewestEntryButton *>(); }
    QWidget &marker() { return *view.findChild<QWidget *>(QStringLiteral("lumBottom")); }

    LogBuffer log;
    RecordingClipboard clipboard;
    ManualTime time;
    LogConsoleView view;
    ConsoleActions actions{&view};
};

}  // namespace ferrolt

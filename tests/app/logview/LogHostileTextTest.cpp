#include "ConsoleFixture.h"
#include "CpuTime.h"
#include "LogText.h"
#include "TestProgram.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSplitter>
#include <QTest>

#include <algorithm>
#include <vector>

using namespace ferrolt;

namespace {

constexpr qsizetype fullElement = 65536;

/// A pattern repeated as often as it fits into an element.
QByteArray full(const QByteArray &pattern) {
    return pattern.repeated(fullElement / pattern.size());
}

/// Measures the longest time for which the event loop was held up: what a user feels as a freeze.
class Frames : public QObject {
  public:
    double worstMilliseconds() const { return static_cast<double>(worst) / 1e6; }
    template <class Work>
    void frame(QWidget &window, Work work) {
        const CpuTime clock;
        work();
        window.repaint();
        worst = std::max(worst, clock.nanoseconds());
    }
    void runFor(int milliseconds) {
        QElapsedTimer whole;
        whole.start();
        runUntil([&] { return whole.elapsed() >= milliseconds; });
    }
    /// Until the rows of both logs are counted, a minute at most.
    void runUntilAtRest(ConsoleFixture &upper, ConsoleFixture &lower) {
        QElapsedTimer whole;
        whole.start();
        runUntil([&] {
            return (upper.runningTimers() == 0 && lower.runningTimers() == 0) || whole.elapsed() > 60000;
        });
    }

  private:
    template <class Condition>
    void runUntil(Condition holds) {
        while (!holds()) {
            const CpuTime clock;
            QCoreApplication::processEvents();
            worst = std::max(worst, clock.nanoseconds());
            QThread::usleep(200);
        }
    }
    long long worst = 0;  // nanoseconds
};

}  // namespace

class LogHostileTextTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aThousandHostileElementsKeepTheirRows_data() {
        QTest::addColumn<QByteArray>("element");
        QTest::newRow("no line break") << QByteArray(fullElement, 'x');
        QTest::newRow("words without a line break") << full("word and ");
        QTest::newRow("spaces") << QByteArray(fullElement, ' ');
        QTest::newRow("line breaks") << QByteArray(fullElement, '\n');
        QTest::newRow("tabs") << QByteArray(fullElement, '\t');
        QTest::newRow("carriage returns") << QByteArray(fullElement, '\r');
        QTest::newRow("carriage returns and line feeds") << full("line\r\n");
        QTest::newRow("escape sequences") << full("\x1b[31;1mred\x1b[0m\x1b[2J");
        QTest::newRow("form feeds") << full("page\f\v\b\a");
        QTest::newRow("wide") << full("漢字かな交じり文");
        QTest::newRow("emoji") << full("😀👍🏽👩‍👩‍👧🇩🇪");
        QTest::newRow("combining") << full("e\xcc\x81\xcc\x82\xcc\x83");
        QTest::newRow("nothing but marks") << full("\xcc\x81");
        QTest::newRow("replacement characters") << full("\xef\xbf\xbd");
        QTest::newRow("nul") << QByteArray(fullElement, '\0');
        QTest::newRow("right to left") << full("שלום عليكم ");
        QTest::newRow("overrides of direction") << full(
            "\xe2\x80\xae"
            "abc\xe2\x80\xa8\xe2\x80\xa9");
        QTest::newRow("the widest of all ligatures") << full("\xef\xb7\xbd");
    }

    void aThousandHostileElementsKeepTheirRows() {
        QFETCH(QByteArray, element);
        ConsoleFixture console;
        console.append("the first row\n");
        for (int i = 0; i < 998; ++i)
            console.log.append(element);
        console.append("the last row\n");
        Frames frames;
        console.view.resize(500, 300);
        frames.frame(console.view, [&] { console.view.show(); });
        QVERIFY(QTest::qWaitForWindowExposed(&console.view));
        LogTextArea &area = console.area();
        const QRectF first = area.rectangleOf({0, ByteOffset{0}});
        QCOMPARE(first.top(), 16.0);
        const QRectF second = area.rectangleOf({1, ByteOffset{0}});
        QCOMPARE(second.top(), first.bottom() + 4);

        // Every row of what is on screen is as high as the first, and none is wider than the view.
        qreal top = second.top();
        for (int row = 0; row < 10; ++row) {
            const auto place = area.positionAt(QPointF(0, top + 1));
            QVERIFY(place);
            QCOMPARE(area.rectangleOf(*place).top(), top);
            const auto end = area.positionAt(QPointF(1e6, top + 1));
            QVERIFY(area.rectangleOf(*end).left() <= area.viewport()->width());
            top += first.height();
        }

        QTest::keyClick(&area, Qt::Key_End);
        const QRectF last = area.rectangleOf({999, ByteOffset{0}});
        QCOMPARE(last.bottom() + 4 + 1 + 16, area.viewport()->height());
        for (const int width : {420, 360, 300, 700})
            frames.frame(console.view, [&] { console.view.resize(width, 300); });
        for (int i = 0; i < 20; ++i)
            frames.frame(console.view, [&] {
                area.verticalScrollBar()->setValue(area.verticalScrollBar()->maximum() / 20 * i + 7 * i);
            });
        QTest::keyClick(&area, Qt::Key_A, Qt::ControlModifier);
        frames.frame(console.view, [] {});
        QTest::keyClick(&area, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(console.clipboard.text.size(), static_cast<qsizetype>(console.log.byteCount()));
        qInfo("worst frame %.1f ms", frames.worstMilliseconds());
        QVERIFY2(frames.worstMilliseconds() < 500, "far beyond what it takes on the slowest of machines");
    }

    void twoFullConsolesAreShownAndResizedWithoutAFreeze() {
        ConsoleFixture upper;
        ConsoleFixture lower(QStringLiteral("Qor Client"));
        // Elements with the same text share it: filling the logs shall not take longer than showing them.
        const QByteArray lines =
            full("2024-05-01 12:00:00 [worker 3] unit 4711 done in 0.25 s, next is 4712\n");
        const QByteArray letters(fullElement, 'y');
        const QByteArray floodingLines =
            full("flooding line with some words in it, and its number is 12345\n");
        const QByteArray floodingLetters(fullElement, 'z');
        for (int i = 0; i < 1000; ++i) {
            upper.log.append(lines);
            lower.log.append(letters);
        }
        QSplitter splitter(Qt::Vertical);
        splitter.addWidget(&upper.view);
        splitter.addWidget(&lower.view);
        const auto take = qScopeGuard([&] {  // the splitter would delete what it does not own
            upper.view.setParent(nullptr);
            lower.view.setParent(nullptr);
        });
        splitter.resize(800, 640);
        Frames show;
        show.frame(splitter, [&] { splitter.show(); });
        QVERIFY(QTest::qWaitForWindowExposed(&splitter));
        show.runUntilAtRest(upper, lower);
        qInfo("first show, worst frame %.1f ms", show.worstMilliseconds());

        Frames resize;
        for (int i = 0; i < 60; ++i) {
            resize.frame(splitter,
                         [&] { splitter.resize(800 + (i % 2 == 0 ? i * 5 : -i * 3), 640 - i * 3); });
            resize.runFor(5);
        }
        resize.runUntilAtRest(upper, lower);
        qInfo("resize, worst frame %.1f ms", resize.worstMilliseconds());

        Frames scroll;
        QScrollBar &bar = *upper.area().verticalScrollBar();
        for (int i = 0; i < 100; ++i)
            scroll.frame(splitter, [&] { bar.setValue(bar.maximum() / 100 * i + i); });
        qInfo("scroll, worst frame %.1f ms", scroll.worstMilliseconds());

        Frames flood;
        for (int turn = 0; turn < 60; ++turn) {
            for (int i = 0; i < 200; ++i) {
                upper.append(floodingLines);
                lower.append(floodingLetters);
            }
            flood.runFor(20);
        }
        qInfo("flood, worst frame %.1f ms", flood.worstMilliseconds());
        for (const Frames *frames : {&show, &resize, &scroll, &flood})
            QVERIFY2(frames->worstMilliseconds() < 500,
                     "far beyond what it takes on the slowest of machines");
    }
};

TEST_CLASS(LogHostileTextTest, QApplication)
#include "LogHostileTextTest.moc"

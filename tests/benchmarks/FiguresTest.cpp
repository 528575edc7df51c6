#include "Figures.h"
#include "TestProgram.h"

#include <QTest>

#include <cmath>

using namespace ferrolt::bench;

class FiguresTest : public QObject {
    Q_OBJECT

    static QString cell(const Figure &figure, int column) {
        return QString::fromStdString(row(figure)).section('\t', column, column);
    }
    static QString met(const Figure &figure) { return cell(figure, 6); }

  private Q_SLOTS:
    void theMedianIsTheMiddleSampleWhateverTheirOrder() {
        QCOMPARE(median({5, 1, 3}), 3.0);
        QCOMPARE(median({7}), 7.0);
        QCOMPARE(median({4, 1, 3, 2}), 2.0);
    }

    void aQuantileIsASampleThatSoManyDoNotExceed() {
        Samples samples;
        for (int i = 100; i > 0; --i)
            samples.push_back(i);
        QCOMPARE(quantile(samples, 0.1), 10.0);
        QCOMPARE(quantile(samples, 0.99), 99.0);
        QCOMPARE(quantile(samples, 1), 100.0);
        QCOMPARE(quantile(samples, 0), 1.0);
    }

    void withoutSamplesAndWithOneThatIsNoneThereIsNoMedian() {
        QVERIFY(std::isnan(median({})));
        QVERIFY(std::isnan(median({1, std::nan(""), 2})));
    }

    void aRowShowsTheMedianOfAllRuns() {
        const Figure figure{.what = "w", .unit = "ms", .ours = {9, 1, 2}, .peerName = "p", .peer = {8, 4, 1}};
        QCOMPARE(QString::fromStdString(row(figure)),
                 QString("FIGURE\tw\t2.00 ms\tp 4.00\t0.50\t-\t-\t1.00 to 9.00"));
    }

    void aRowThatSaysWorstShowsTheWorstOfAllRuns() {
        Figure figure{"worst",      "ms",         {9, 1, 2}, "p",           {8, 4, 1},
                      Judged::Ours, Goal::AtMost, 5,         Summary::Worst};
        QCOMPARE(cell(figure, 2), QString("9.00 ms"));
        QCOMPARE(cell(figure, 3), QString("p 8.00"));
        QCOMPARE(met(figure), QString("MISSED"));
        figure.summary = Summary::Median;
        QCOMPARE(met(figure), QString("met"));
    }

    void theWorstOfWhatShallBeHighIsTheLowest() {
        const Figure figure{"rate",        "MB/s",        {9, 1, 2}, "p",           {8, 4, 2},
                            Judged::Ratio, Goal::AtLeast, 0.5,       Summary::Worst};
        QCOMPARE(cell(figure, 2), QString("1.00 MB/s"));
        QCOMPARE(met(figure), QString("met"));  // 1 of 2
    }

    void aBoundIsMetUpToItself_data() {
        QTest::addColumn<int>("judged");
        QTest::addColumn<int>("goal");
        QTest::addColumn<double>("bound");
        QTest::addColumn<QString>("verdict");
        const auto ours = int(Judged::Ours);
        const auto ratio = int(Judged::Ratio);
        const auto difference = int(Judged::Difference);
        const auto atMost = int(Goal::AtMost);
        const auto atLeast = int(Goal::AtLeast);
        // Ours is 6, the peer's is 4.
        QTest::newRow("at most") << ours << atMost << 6.0 << "met";
        QTest::newRow("above") << ours << atMost << 5.9 << "MISSED";
        QTest::newRow("at least") << ours << atLeast << 6.0 << "met";
        QTest::newRow("below") << ours << atLeast << 6.1 << "MISSED";
        QTest::newRow("at most, ratio") << ratio << atMost << 1.5 << "met";
        QTest::newRow("above, ratio") << ratio << atMost << 1.4 << "MISSED";
        QTest::newRow("at most, difference") << difference << atMost << 2.0 << "met";
        QTest::newRow("above, difference") << difference << atMost << 1.9 << "MISSED";
        QTest::newRow("not judged") << ours << int(Goal::None) << 0.0 << "-";
    }
    void aBoundIsMetUpToItself() {
        QFETCH(int, judged);
        QFETCH(int, goal);
        QFETCH(double, bound);
        QFETCH(QString, verdict);
        const Figure figure{"w", "ms", {6}, "p", {4}, Judged(judged), Goal(goal), bound};
        QCOMPARE(met(figure), verdict);
    }

    void whatWasNotMeasuredIsMissed() {
        QCOMPARE(met({.what = "nothing", .unit = "", .ours = {}, .goal = Goal::AtMost, .bound = 1}),
                 QString("MISSED"));
        QCOMPARE(met({"no peer", "", {1}, "p", {0}, Judged::Ratio, Goal::AtLeast, 1}), QString("MISSED"));
    }
};

TEST_CLASS(FiguresTest, QCoreApplication)
#include "FiguresTest.moc"

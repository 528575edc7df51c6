#include "LogScrollBar.h"

#include <QStyleFactory>
#include <QTest>

#include <memory>
#include <utility>

using namespace ferrolt;

class LogScrollBarTest : public QObject {
    Q_OBJECT

    class CountingBar : public LogScrollBar {
      public:
        int paints = 0;

        /// As a log does that has grown.
        void show(int maximum, int value) {
            change([&] {
                setPageStep(200);
                setRange(0, maximum);
                setValue(value);
            });
        }
        /// How often it has been drawn since it was asked last.
        int takePaints() {
            QCoreApplication::sendPostedEvents();
            QCoreApplication::processEvents();
            return std::exchange(paints, 0);
        }

      protected:
        void paintEvent(QPaintEvent *event) override {
            ++paints;
            LogScrollBar::paintEvent(event);
        }
    };

    struct Scene {
        const std::unique_ptr<QStyle> style{QStyleFactory::create(QStringLiteral("Fusion"))};
        CountingBar bar;

        Scene() {
            bar.setStyle(style.get());
            bar.resize(16, 240);
            bar.show(1'000'000, 503'000);  // between two pixels
            bar.QWidget::show();
        }
        bool isShown() { return QTest::qWaitForWindowExposed(&bar) && bar.takePaints() > 0; }
    };

  private Q_SLOTS:
    void numbersThatMoveNothingOnScreenDrawNothing() {
        Scene s;
        QVERIFY(s.isShown());
        for (int i = 1; i <= 100; ++i)
            s.bar.show(1'000'000 + i, 503'000 + i / 2);
        QCOMPARE(s.bar.takePaints(), 0);
        QCOMPARE(s.bar.maximum(), 1'000'100);
        QCOMPARE(s.bar.value(), 503'050);
    }

    void listenersHearOfEveryChangeAllTheSame() {
        Scene s;
        QVERIFY(s.isShown());
        QList<int> heard;
        connect(&s.bar, &QScrollBar::valueChanged, this, [&](int value) { heard << value; });
        s.bar.show(1'000'000, 503'001);
        QCOMPARE(heard, QList<int>{503'001});
    }

    void aSliderThatMovesIsDrawn() {
        Scene s;
        QVERIFY(s.isShown());
        s.bar.show(1'000'000, 900'000);
        QCOMPARE(s.bar.takePaints(), 1);
        s.bar.show(1'000'000, 503'000);
        QCOMPARE(s.bar.takePaints(), 1);
    }

    void smallStepsAddUp() {
        Scene s;
        QVERIFY(s.isShown());
        int paints = 0;
        for (int value = 500'000; value <= 600'000; value += 100) {
            s.bar.show(1'000'000, value);
            paints += s.bar.takePaints();
        }
        QVERIFY2(paints > 10 && paints < 100, qPrintable(QString::number(paints)));
    }

    void theLastStepToEitherEndIsDrawn() {
        Scene s;
        s.bar.show(1'000'000, 999'999);
        QVERIFY(s.isShown());
        s.bar.show(1'000'000, 1'000'000);  // some styles mark the end that is reached
        QCOMPARE(s.bar.takePaints(), 1);
        s.bar.show(1'000'000, 0);
        QCOMPARE(s.bar.takePaints(), 1);
        s.bar.show(1'000'000, 1);
        QCOMPARE(s.bar.takePaints(), 1);
    }

    void theUsersOwnMovesAreDrawnAsEver() {
        Scene s;
        QVERIFY(s.isShown());
        s.bar.setValue(s.bar.value() + 1);
        QCOMPARE(s.bar.takePaints(), 1);
    }

    void aChangeOfStyleSizeOrPaletteIsDrawnAsEver() {
        Scene s;
        QVERIFY(s.isShown());
        s.bar.resize(16, 300);
        QVERIFY(s.bar.takePaints() > 0);
        s.bar.setPalette(QPalette(Qt::black));
        QVERIFY(s.bar.takePaints() > 0);
    }
};

QTEST_MAIN(LogScrollBarTest)
#include "LogScrollBarTest.moc"

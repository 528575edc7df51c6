#include "Drawing.h"
#include "TestProgram.h"

#include <QApplication>
#include <QImage>
#include <QTest>

using namespace ferrolt;

class DrawingTest : public QObject {
    Q_OBJECT

    /// A canvas of 100 by 60 logical pixels. `origin` is where a widget in it begins.
    struct Canvas {
        explicit Canvas(qreal scale, QPointF origin = {})
            : image(qRound(100 * scale), qRound(60 * scale), QImage::Format_ARGB32_Premultiplied) {
            image.fill(Qt::white);
            image.setDevicePixelRatio(scale);
            painter.begin(&image);
            painter.translate(origin);
        }
        QImage image;
        QPainter painter;
    };

    static void addScales() {
        QTest::addColumn<qreal>("scale");
        QTest::addColumn<int>("pixels");
        QTest::addRow("1") << 1.0 << 1;
        QTest::addRow("1.25") << 1.25 << 1;
        QTest::addRow("1.5") << 1.5 << 1;
        QTest::addRow("2") << 2.0 << 2;
        QTest::addRow("3") << 3.0 << 3;
    }

  private Q_SLOTS:
    void aBorderIsWholeDevicePixelsWideAtEveryScaleFactor_data() { addScales(); }
    void aBorderIsWholeDevicePixelsWideAtEveryScaleFactor() {
        QFETCH(qreal, scale);
        QFETCH(int, pixels);
        Canvas canvas(scale, QPointF(7, 5));
        Drawing::strokeRectangle(canvas.painter, QRectF(0, 0, 61, 33), Qt::black);
        canvas.painter.end();

        // Across the middle: white, the left side, white, the right side, white, and nothing in between.
        const int row = canvas.image.height() / 2;
        QList<int> runs;
        bool wasBlack = false;
        for (int x = 0; x < canvas.image.width(); ++x) {
            const QRgb pixel = canvas.image.pixel(x, row);
            QVERIFY2(pixel == 0xff000000 || pixel == 0xffffffff, "a blurred pixel");
            const bool isBlack = pixel == 0xff000000;
            if (isBlack && !wasBlack)
                runs.append(0);
            if (isBlack)
                ++runs.last();
            wasBlack = isBlack;
        }
        QCOMPARE(runs, (QList<int>{pixels, pixels}));
    }

    void theSidesOfARoundedBorderAreSharpToo_data() { addScales(); }
    void theSidesOfARoundedBorderAreSharpToo() {
        QFETCH(qreal, scale);
        QFETCH(int, pixels);
        Canvas canvas(scale, QPointF(7, 5));
        Drawing::strokeRounded(canvas.painter, QRectF(0, 0, 61, 33), 6, Qt::black);
        canvas.painter.end();
        int dark = 0;
        for (int x = 0; x < canvas.image.width() / 2; ++x) {
            const int gray = qGray(canvas.image.pixel(x, canvas.image.height() / 2));
            QVERIFY2(gray < 16 || gray > 239, qPrintable(QString("gray %1").arg(gray)));
            dark += gray < 16;
        }
        QCOMPARE(dark, pixels);
    }

    void aContinuousCornerTakesAsMuchOffTheDiagonalAsACircle() {
        const qreal radius = 8;
        const QPainterPath path = Drawing::continuousRectangle(QRectF(0, 0, 100, 60), radius);
        const qreal cut = radius * (1 - 1 / std::sqrt(2.0));
        QVERIFY(!path.contains(QPointF(cut - 0.2, cut - 0.2)));
        QVERIFY(path.contains(QPointF(cut + 0.2, cut + 0.2)));
        // It begins to bend earlier than a circle would.
        QVERIFY(!path.contains(QPointF(radius, 0.01)));
        QVERIFY(path.contains(QPointF(radius * 1.5, 0.01)));
        QCOMPARE(path.boundingRect(), QRectF(0, 0, 100, 60));
    }

    void aRectangleSmallerThanItsCornersIsStillOne() {
        QCOMPARE(Drawing::continuousRectangle(QRectF(0, 0, 6, 6), 8).boundingRect(), QRectF(0, 0, 6, 6));
        QVERIFY(Drawing::continuousRectangle(QRectF(), 8).boundingRect().isEmpty());
        QCOMPARE(Drawing::continuousRectangle(QRectF(0, 0, 6, 6), 0).boundingRect(), QRectF(0, 0, 6, 6));
    }
};

TEST_CLASS(DrawingTest, QApplication)
#include "DrawingTest.moc"

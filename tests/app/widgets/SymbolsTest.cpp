#include "Symbols.h"
#include "TestProgram.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QTest>

using namespace ferrolt;

class SymbolsTest : public QObject {
    Q_OBJECT

    static constexpr Symbol all[] = {Symbol::House,
                                     Symbol::Gear,
                                     Symbol::CircleFill,
                                     Symbol::MinusCircle,
                                     Symbol::DocOnDoc,
                                     Symbol::Checkmark,
                                     Symbol::Envelope,
                                     Symbol::Person,
                                     Symbol::Desktop,
                                     Symbol::Paperplane,
                                     Symbol::CheckmarkCircle,
                                     Symbol::InfoCircle,
                                     Symbol::WarningTriangle,
                                     Symbol::ErrorOctagon,
                                     Symbol::ChevronUp,
                                     Symbol::ChevronDown,
                                     Symbol::Menu,
                                     Symbol::XmarkCircle,
                                     Symbol::ArrowDown};

  private Q_SLOTS:
    void everySymbolIsDrawnInItsTintAndNothingElse() {
        const QColor tint(10, 102, 216);
        for (const Symbol symbol : all) {
            const QImage image =
                symbolPixmap(symbol, QSize(16, 16), tint, 1).toImage().convertToFormat(QImage::Format_ARGB32);
            int solid = 0;
            for (int y = 0; y < 16; ++y) {
                for (int x = 0; x < 16; ++x) {
                    const QColor pixel = image.pixelColor(x, y);
                    if (pixel.alpha() == 255) {
                        ++solid;
                        QCOMPARE(pixel, tint);
                    }
                }
            }
            QVERIFY2(solid >= 8, qPrintable(QString("symbol %1").arg(static_cast<int>(symbol))));
            QVERIFY2(solid < 256, qPrintable(QString("symbol %1").arg(static_cast<int>(symbol))));
        }
    }

    void noTwoSymbolsLookAlike() {
        QList<QImage> seen;
        for (const Symbol symbol : all) {
            const QImage image = symbolPixmap(symbol, QSize(32, 32), Qt::black, 1).toImage();
            QVERIFY(!seen.contains(image));
            seen.append(image);
        }
    }

    void aSymbolIsDrawnForItsScaleFactorNotStretched_data() {
        QTest::addColumn<qreal>("scale");
        for (const qreal scale : {1.0, 1.25, 1.5, 2.0, 3.0})
            QTest::addRow("%g", scale) << scale;
    }
    void aSymbolIsDrawnForItsScaleFactorNotStretched() {
        QFETCH(qreal, scale);
        const QPixmap pixmap = symbolPixmap(Symbol::Gear, QSize(16, 16), Qt::black, scale);
        QCOMPARE(pixmap.devicePixelRatio(), scale);
        QCOMPARE(pixmap.size(), QSize(qRound(16 * scale), qRound(16 * scale)));
        QCOMPARE(pixmap.toImage(), [&] {
            QImage same = symbolPixmap(Symbol::Gear, pixmap.size(), Qt::black, 1).toImage();
            same.setDevicePixelRatio(scale);
            return same;
        }());
    }

    void aSymbolKeepsItsShapeInAPlaceThatIsNotSquare() {
        const QImage wide = symbolPixmap(Symbol::CircleFill, QSize(32, 16), Qt::black, 1).toImage();
        QCOMPARE(qAlpha(wide.pixel(3, 8)), 0);
        QCOMPARE(qAlpha(wide.pixel(16, 8)), 255);
        QCOMPARE(qAlpha(wide.pixel(28, 8)), 0);
    }

    void anIconIsFaintWhenDisabled() {
        const QIcon icon = symbolIcon(Symbol::CircleFill, [](const QPalette &) { return QColor(Qt::black); });
        QCOMPARE(qAlpha(icon.pixmap(QSize(16, 16), 1.0).toImage().pixel(8, 8)), 255);
        const int faint = qAlpha(icon.pixmap(QSize(16, 16), 1.0, QIcon::Disabled).toImage().pixel(8, 8));
        QVERIFY(faint > 40 && faint < 140);
        QCOMPARE(icon.pixmap(QSize(16, 16), 2.0).size(), QSize(32, 32));
    }

    void theApplicationIconHasEverySizeThatDesktopsAskFor() {
        const QIcon icon = applicationIcon();
        QVERIFY(!icon.isNull());
        for (const int side : {16, 24, 32, 48, 128}) {
            QVERIFY(icon.availableSizes().contains(QSize(side, side)));
            QCOMPARE(qAlpha(icon.pixmap(side).toImage().pixel(side / 2, side / 2)), 255);
        }
    }
};

TEST_CLASS(SymbolsTest, QApplication)
#include "SymbolsTest.moc"

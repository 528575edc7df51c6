#include "ConsoleFont.h"
#include "LogRowText.h"
#include "LogRows.h"
#include "TestProgram.h"
#include "Theme.h"
#include "Utf8.h"

#include <QImage>
#include <QTest>

#include <cmath>

using namespace ferrolt;

class LogRowTextTest : public QObject {
    Q_OBJECT

    static constexpr int columns = 60;
    ConsoleFont font;

    qreal width() const { return columns * font.cellWidth(); }

  private Q_SLOTS:
    void initTestCase() { font = ConsoleFont(Theme::console(), 1); }

    void cellsAreWholeDevicePixels() {
        for (const qreal ratio : {1.0, 1.25, 1.5, 2.0, 3.0}) {
            const ConsoleFont scaled(Theme::console(), ratio);
            const qreal pixels = scaled.cellWidth() * ratio;
            QVERIFY(std::abs(pixels - std::round(pixels)) < 1e-9);
        }
        QVERIFY(font.hasGlyph('a'));
        QVERIFY(!font.hasGlyph('\x1b'));
        QVERIFY(!font.hasGlyph('\xc3'));
    }

    void placesAndBytesCorrespond_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("plain") << QByteArray("[engine] listening on 127.0.0.1:9877");
        QTest::newRow("tabs") << QByteArray("a\tbc\t\td");
        QTest::newRow("accents") << QByteArray(
            "Gr\xc3\xb6\xc3\x9f"
            "e \xc3\xa9t\xc3\xa9");
        QTest::newRow("wide") << QByteArray("漢字 and かな");
        QTest::newRow("emoji") << QByteArray("a 😀 b 😀");
        QTest::newRow("controls") << QByteArray("\x1b[31mred\x1b[0m\r\f\v");
        QTest::newRow("tabs among others") << QByteArray("é\tx\té");
    }

    void placesAndBytesCorrespond() {
        QFETCH(QByteArray, text);
        const LogRowText row(font, text, width());
        qreal last = -1;
        for (std::size_t at = 0; at < static_cast<std::size_t>(text.size());) {
            const auto offset = static_cast<std::uint32_t>(at);
            const qreal x = row.xOf(offset);
            QVERIFY(x > last);
            QCOMPARE(row.offsetAt(x + 0.5), offset);
            last = x;
            at += utf8::characterAt(text, at).length;
        }
        const auto end = static_cast<std::uint32_t>(text.size());
        QCOMPARE(row.offsetAt(row.width() + 100), end);
        QCOMPARE(row.offsetAt(-100), 0U);
        const auto whole = row.extents(0, end);
        QCOMPARE(whole.size(), 1U);
        QCOMPARE(whole.front().first, 0.0);
        QVERIFY(std::abs(whole.front().second - row.width()) < 1);
        QVERIFY(row.extents(2, 2).empty());
    }

    void columnsLineUpBetweenRowsOfDifferentKinds() {
        const LogRowText plain(font, "| job | 4711 |", width());
        const LogRowText drawn(font, "│ job │ 4711 │", width());
        QVERIFY(std::abs(plain.width() - drawn.width()) < 0.6);
        QVERIFY(std::abs(plain.xOf(6) - drawn.xOf(8)) < 0.6);
    }

    void aRowNeverGrowsBeyondItsWidth() {
        for (const QByteArray &unit :
             {QByteArray("\xef\xb7\xbd"), QByteArray("漢"), QByteArray("😀"), QByteArray("é"),
              QByteArray("\xe0\xa4\x95\xe0\xa5\x8d\xe0\xa4\xb7"), QByteArray("ש")}) {
            const QByteArray element = unit.repeated(500);
            const std::vector<std::uint32_t> starts = rowStarts(element, columns);
            QVERIFY(starts.size() > 1);
            const LogRowText row(font, QByteArrayView(element).first(starts[1]), width());
            QVERIFY2(row.width() <= width() + 0.5, unit.constData());
        }
    }

    void whatIsWrittenRightToLeftIsCoveredWhole() {
        const QByteArray text("ab, שלום x");
        const LogRowText row(font, text, width());
        const auto covered = [&](std::uint32_t begin, std::uint32_t end) {
            qreal sum = 0;
            for (const auto &[from, to] : row.extents(begin, end))
                sum += to - from;
            return sum;
        };
        QVERIFY(std::abs(covered(0, static_cast<std::uint32_t>(text.size())) - row.width()) < 1);
        // Each of the four letters has a width, and together they have that of the word.
        qreal letters = 0;
        for (std::uint32_t at = 4; at < 12; at += 2) {
            QVERIFY(covered(at, at + 2) > 1);
            letters += covered(at, at + 2);
        }
        QVERIFY(std::abs(letters - covered(4, 12)) < 1);
    }

    void heapedMarksStayInTheirRow() {
        const QByteArray heap = "e" + QByteArray("\xcc\x81").repeated(16);
        QImage image(200, 100, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        GlyphBatch plain;
        GlyphBatch highlighted;
        LogRowText(font, heap, width()).draw(painter, QPointF(10, 40), Qt::black, {}, plain, highlighted);
        painter.end();
        for (int y = 0; y < image.height(); ++y) {
            if (y >= 40 && y < 40 + font.rowHeight())
                continue;
            for (int x = 0; x < image.width(); ++x)
                QCOMPARE(image.pixelColor(x, y), QColor(Qt::white));
        }
    }
};

TEST_CLASS(LogRowTextTest, QApplication)
#include "LogRowTextTest.moc"

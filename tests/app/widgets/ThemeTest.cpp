#include "ApplicationLook.h"
#include "TestProgram.h"
#include "Theme.h"
#include "ThemedLabel.h"

#include <QApplication>
#include <QFontInfo>
#include <QStyle>
#include <QTest>
#include <QtMath>

using namespace ferrolt;

class ThemeTest : public QObject {
    Q_OBJECT

    static QPalette foreign(const QColor &window, const QColor &text, const QColor &highlight) {
        QPalette palette(window);
        palette.setColor(QPalette::Window, window);
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Base, window.lighter(105));
        palette.setColor(QPalette::Text, text);
        palette.setColor(QPalette::Highlight, highlight);
        return palette;
    }

  private Q_SLOTS:
    void ourOwnPalettesGiveTheColoursOfTheDesign() {
        struct Row {
            QColor (*role)(const QPalette &);
            QRgb light, dark;
        };
        const Row rows[] = {{Theme::windowBackground, 0xf5f5f7, 0x242426},
                            {Theme::sidebarBackground, 0xebebef, 0x2c2c2f},
                            {Theme::controlBackground, 0xffffff, 0x323236},
                            {Theme::textBackground, 0xffffff, 0x1b1b1d},
                            {Theme::separator, 0xd4d4d9, 0x3d3d42},
                            {Theme::accent, 0x0a66d8, 0x4a9bff},
                            {Theme::selection, 0xd9e4f5, 0x35486a},
                            {Theme::primaryText, 0x1d1d1f, 0xf2f2f4},
                            {Theme::secondaryText, 0x6e6e73, 0x9a9aa0},
                            {Theme::green, 0x248a3d, 0x32d158},
                            {Theme::gray, 0x8e8e93, 0x8e8e93}};
        for (const Row &row : rows) {
            for (const auto &[palette, wanted] :
                 {std::pair(Theme::lightPalette(), row.light), {Theme::darkPalette(), row.dark}}) {
                const QColor color = row.role(palette);
                // Derived roles come close; a difference of a few steps is invisible.
                for (const int difference : {color.red() - qRed(wanted), color.green() - qGreen(wanted),
                                             color.blue() - qBlue(wanted)})
                    QVERIFY2(qAbs(difference) <= 4,
                             qPrintable(color.name() + " for " + QColor(wanted).name()));
            }
        }
    }

    void textIsReadableOnEveryPalette_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::addRow("light") << Theme::lightPalette();
        QTest::addRow("dark") << Theme::darkPalette();
        QTest::addRow("light, high contrast") << Theme::lightPalette(Theme::Contrast::High);
        QTest::addRow("dark, high contrast") << Theme::darkPalette(Theme::Contrast::High);
        QTest::addRow("orange accent") << Theme::lightPalette({}, QColor(0xed, 0x5b, 0x00));
        QTest::addRow("yellow accent, high contrast")
            << Theme::lightPalette(Theme::Contrast::High, QColor(0xff, 0xe0, 0x30));
        QTest::addRow("the style's own") << QApplication::style()->standardPalette();
        QTest::addRow("pale accent on white") << foreign(Qt::white, Qt::black, QColor(255, 240, 120));
        QTest::addRow("dark accent on black") << foreign(Qt::black, Qt::white, QColor(0, 0, 90));
        QTest::addRow("sepia") << foreign(QColor(240, 230, 200), QColor(70, 50, 20), QColor(150, 90, 20));
    }
    void textIsReadableOnEveryPalette() {
        QFETCH(QPalette, palette);
        const QColor window = Theme::windowBackground(palette);
        QVERIFY(Theme::contrast(Theme::primaryText(palette), window) >= 7);
        QVERIFY(Theme::contrast(Theme::secondaryText(palette), window) >= 4.4);
        QVERIFY(Theme::contrast(Theme::accent(palette), window) >= 4);
        QVERIFY(Theme::contrast(Theme::accentOn(palette, Theme::selection(palette)),
                                Theme::selection(palette)) >= 4);
        QVERIFY(Theme::contrast(Theme::green(palette), Theme::controlBackground(palette)) >= 3);
        QVERIFY(Theme::contrast(Theme::onAccent(palette), Theme::accent(palette)) >= 2.5);
        QVERIFY(Theme::separator(palette) != window);
        QVERIFY(Theme::sidebarBackground(palette) != window);
    }

    void withHighContrastLinesTextAndSymbolsAreStronger() {
        const auto high = Theme::Contrast::High;
        for (const QPalette &palette : {Theme::lightPalette(high), Theme::darkPalette(high)}) {
            const QColor window = Theme::windowBackground(palette);
            QCOMPARE(Theme::contrastOf(palette), high);
            QVERIFY(Theme::contrast(Theme::separator(palette), window) >= 3);
            QVERIFY(Theme::contrast(Theme::secondaryText(palette), window) >= 7);
            QVERIFY(Theme::contrast(Theme::accent(palette), window) >= 7);
            QVERIFY(Theme::contrast(Theme::onAccent(palette), Theme::accent(palette)) >= 4.5);
            QVERIFY(Theme::contrast(Theme::green(palette), Theme::controlBackground(palette)) >= 7);
            QVERIFY(Theme::contrast(Theme::gray(palette), window) >= 4.5);
        }
        for (const QPalette &palette : {Theme::lightPalette(), Theme::darkPalette()})
            QCOMPARE(Theme::contrastOf(palette), Theme::Contrast::Normal);
        QVERIFY(Theme::isDark(Theme::darkPalette(high)) && !Theme::isDark(Theme::lightPalette(high)));
    }

    void anAccentColourIsTakenAsItIsIfItCanBeSeenAndMixedIfNot_data() {
        QTest::addColumn<QColor>("accent");
        QTest::addColumn<bool>("isSeenOnLight");
        QTest::addColumn<bool>("isSeenOnDark");
        QTest::newRow("orange") << QColor(0xed, 0x5b, 0x00) << true << true;
        QTest::newRow("yellow") << QColor(0xff, 0xe0, 0x30) << false << true;
        QTest::newRow("night blue") << QColor(0x10, 0x10, 0x50) << true << false;
        QTest::newRow("white") << QColor(Qt::white) << false << true;
        QTest::newRow("black") << QColor(Qt::black) << true << false;
    }
    void anAccentColourIsTakenAsItIsIfItCanBeSeenAndMixedIfNot() {
        QFETCH(QColor, accent);
        QFETCH(bool, isSeenOnLight);
        QFETCH(bool, isSeenOnDark);
        for (const auto &[palette, isSeen] :
             {std::pair(Theme::lightPalette({}, accent), isSeenOnLight),
              {Theme::darkPalette({}, accent), isSeenOnDark},
              {Theme::lightPalette(Theme::Contrast::High, accent), isSeenOnLight},
              {Theme::darkPalette(Theme::Contrast::High, accent), isSeenOnDark}}) {
            const QColor taken = palette.color(QPalette::Highlight);
            QCOMPARE(taken == accent, isSeen);
            QVERIFY(Theme::contrast(taken, palette.color(QPalette::Window)) >= 3);
            QVERIFY(Theme::contrast(taken, palette.color(QPalette::Base)) >= 3);
            QVERIFY(Theme::contrast(palette.color(QPalette::HighlightedText), taken) >= 4);
        }
    }

    void darkAndLightAreToldApart() {
        QVERIFY(!Theme::isDark(Theme::lightPalette()));
        QVERIFY(Theme::isDark(Theme::darkPalette()));
    }

    void typeIsTheDesktopsOwnInFixedProportions_data() {
        QTest::addColumn<qreal>("points");
        QTest::addRow("7 pt") << 7.0;
        QTest::addRow("10 pt") << 10.0;
        QTest::addRow("18 pt") << 18.0;
    }
    void typeIsTheDesktopsOwnInFixedProportions() {
        QFETCH(qreal, points);
        ApplicationLook look;
        look.setPointSize(points);
        QCOMPARE(Theme::body(), QApplication::font());
        QVERIFY(Theme::headline().bold());
        QCOMPARE(Theme::headline().pointSizeF(), points);
        QCOMPARE(Theme::subheadline().pointSizeF(), points * 0.85);
        QCOMPARE(Theme::caption().pointSizeF(), points * 0.77);
        QCOMPARE(Theme::console().pointSizeF(), points);
        QVERIFY(QFontInfo(Theme::console()).fixedPitch());
    }

    void aDesktopFontGivenInPixelsIsScaledInPixels() {
        ApplicationLook look;
        look.setPixelSize(20);
        QCOMPARE(Theme::subheadline().pixelSize(), 17);
        QCOMPARE(Theme::caption().pixelSize(), 15);
        QCOMPARE(Theme::console().pixelSize(), 20);
    }

    void aLabelFollowsFontAndPaletteWhileItIsShown() {
        ApplicationLook look;
        QWidget window;
        ThemedLabel label("Process Status & <b>more</b>", Theme::subheadline, Theme::secondaryText, &window);
        window.resize(900, 120);
        label.resize(900, 120);
        window.show();
        QSize before;
        for (const auto &[palette, points] : {std::pair(Theme::darkPalette(), 40.0),
                                              {Theme::lightPalette(), 30.0},
                                              {Theme::darkPalette(), 20.0}}) {
            look.setPalette(palette);
            look.setPointSize(points);
            QCoreApplication::processEvents();
            QVERIFY(label.sizeHint() != before);
            before = label.sizeHint();
            QCOMPARE(before.height(), qCeil(QFontMetricsF(Theme::subheadline()).height()));
            const QImage picture = window.grab().toImage();
            int inColour = 0;
            for (int y = 0; y < 120; ++y)
                for (int x = 0; x < 900; ++x)
                    inColour += picture.pixelColor(x, y) == Theme::secondaryText(palette);
            QVERIFY2(inColour > 20, qPrintable(QString::number(inColour)));
        }
    }
};

TEST_CLASS(ThemeTest, QApplication)
#include "ThemeTest.moc"

#include "ApplicationLook.h"
#include "ConsoleFixture.h"
#include "ManualAnimations.h"
#include "StatusBadge.h"
#include "TestProgram.h"
#include "Theme.h"

#include <QDir>
#include <QLabel>
#include <QPixmap>
#include <QTest>

#include <cmath>

using namespace ferrolt;

/// Takes pictures of the console for people to look at, into the folder "pictures" beside the test, and looks
/// itself at what can be told from single pixels. Run once for each scale factor.
class LogConsoleLookTest : public QObject {
    Q_OBJECT

    static qreal scale() { return qApp->devicePixelRatio(); }

    static void save(QWidget &widget, const QString &name) {
        const QDir folder(QCoreApplication::applicationDirPath() + QStringLiteral("/pictures"));
        QVERIFY(folder.mkpath(QStringLiteral(".")));
        const QString file = QStringLiteral("console-%1@%2.png").arg(name).arg(scale());
        QVERIFY(widget.grab().save(folder.filePath(file)));
    }
    static void usePalette(bool dark) {
        QApplication::setPalette(dark ? Theme::darkPalette() : Theme::lightPalette());
        // The event loop carries it to the widgets.
        QCoreApplication::processEvents();
    }
    static void fill(ConsoleFixture &console) {
        console.view.setRunning(true);
        console.append("Lumora Core started.\n");
        console.append("[engine] media engine 4.2 starting\n[engine] worker pool: 8 workers\n");
        console.append("[engine] listening on 127.0.0.1:9877\n");
        console.append("tabs\there\tand\tthere\nsecond\tcolumn\n");
        console.append(
            "wide 漢字かな, e\xcc\x81 combining, emoji 😀, ✓ done, \xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d x\n");
        console.append("\x1b[31mred\x1b[0m 10%\r20%\r100%\r\n");
        console.append(
            "a long line that goes on and on and on until it has to be wrapped to the full width of the "
            "console and then some\n");
        console.append("┌──────┬──────┐\n│ jobs │ 4711 │\n└──────┴──────┘\n");
    }

  private Q_SLOTS:
    void pictures_data() {
        QTest::addColumn<bool>("dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }

    void pictures() {
        QFETCH(bool, dark);
        const QString tone = dark ? QStringLiteral("dark") : QStringLiteral("light");
        usePalette(dark);
        ConsoleFixture console;
        console.show({520, 320});
        save(console.view, QStringLiteral("empty-") + tone);
        fill(console);
        QTRY_VERIFY(console.copyButton().isEnabled());
        save(console.view, QStringLiteral("text-") + tone);
        QTest::keyClick(&console.area(), Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("on"));
        QTRY_VERIFY(console.area().hasSelection());
        QTRY_VERIFY(console.view.findChild<QLabel *>(QStringLiteral("findResult"))->text().contains(u"of"));
        save(console.view, QStringLiteral("find-") + tone);
        console.area().select({{2, ByteOffset{0}}, {3, ByteOffset{30}}});
        QCoreApplication::processEvents();
        save(console.view, QStringLiteral("selected-unfocused-") + tone);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QTest::keyClick(&console.area(), Qt::Key_A, Qt::ControlModifier);
        save(console.view, QStringLiteral("selected-") + tone);
        {
            ManualAnimations animations;
            console.appendLines(400, "[engine] unit done, number");
            QTRY_VERIFY(console.area().isFollowing());
            animations.advanceBy(300);
            QVERIFY(!console.area().isFollowing());
        }
        QTest::mouseClick(console.area().viewport(), Qt::LeftButton);
        QTest::mouseClick(&console.copyButton(), Qt::LeftButton);
        save(console.view, QStringLiteral("full-") + tone);
        console.copyButton().setFocus(Qt::TabFocusReason);
        console.view.setRunning(false);
        console.view.resize(300, 150);
        save(console.view, QStringLiteral("smallest-") + tone);
        console.area().setFocus(Qt::TabFocusReason);
        save(console.view, QStringLiteral("focus-") + tone);
    }

    void headerAndRowsGrowWithTheTypeAndClipNothing() {
        usePalette(false);
        ApplicationLook look;
        int lastHeader = 0;
        qreal lastRow = 0;
        for (const int points : {7, 10, 18}) {
            look.setPointSize(points);
            ConsoleFixture console;
            fill(console);
            console.show({520, 320});
            save(console.view, QStringLiteral("%1pt").arg(points));
            const auto *const title = console.view.findChild<QLabel *>();
            const auto *const badge = console.view.findChild<StatusBadge *>();
            const QWidget *const header = title->parentWidget();
            for (const QWidget *part :
                 {static_cast<const QWidget *>(title), static_cast<const QWidget *>(badge),
                  static_cast<const QWidget *>(&console.copyButton())}) {
                QVERIFY(part->width() >= part->sizeHint().width());
                QVERIFY(part->height() >= part->sizeHint().height());
                QVERIFY(header->rect().contains(part->geometry()));
            }
            const qreal row = console.area().rectangleOf({0, ByteOffset{0}}).height();
            QVERIFY(row >= QFontMetricsF(Theme::console()).ascent());
            QVERIFY(header->height() > lastHeader);
            QVERIFY(row > lastRow);
            lastHeader = header->height();
            lastRow = row;
        }
    }

    void linesAreSharpAndOneUnitWide() {
        usePalette(false);
        ConsoleFixture console;
        console.show({501, 301});
        const QImage image = console.view.grab().toImage();
        const QPalette palette = console.view.palette();
        const QColor separator = Theme::separator(palette);
        const int line = std::max(static_cast<int>(scale()), 1);
        const int right = image.width() - 1;
        const int bottom = image.height() - 1;
        const int middle = image.height() * 3 / 4;
        for (int i = 0; i < line; ++i) {
            QCOMPARE(image.pixelColor(i, middle), separator);
            QCOMPARE(image.pixelColor(right - i, middle), separator);
            QCOMPARE(image.pixelColor(right / 2, i), separator);
            QCOMPARE(image.pixelColor(right / 2, bottom - i), separator);
        }
        QCOMPARE(image.pixelColor(line, middle), Theme::textBackground(palette));
        QCOMPARE(image.pixelColor(right - line, middle), Theme::textBackground(palette));
        QCOMPARE(image.pixelColor(right / 2, line), Theme::windowBackground(palette));
        QCOMPARE(image.pixelColor(right / 2, bottom - line), Theme::textBackground(palette));

        // Between header and log: one line, as wide, and nothing half way.
        int lines = 0;
        for (int y = line; y < middle; ++y) {
            const QColor color = image.pixelColor(right / 2, y);
            if (color == separator)
                ++lines;
            else
                QVERIFY2(color == Theme::windowBackground(palette) || color == Theme::textBackground(palette),
                         qPrintable(color.name()));
        }
        QCOMPARE(lines, line);
    }
};

TEST_CLASS(LogConsoleLookTest, QApplication)
#include "LogConsoleLookTest.moc"

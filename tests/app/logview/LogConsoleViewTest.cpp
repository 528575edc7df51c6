#include "ApplicationLook.h"
#include "ConsoleFixture.h"
#include "CpuTime.h"
#include "LogLayout.h"
#include "QtClipboard.h"
#include "StatusBadge.h"
#include "SymbolPlace.h"
#include "SymbolView.h"
#include "TestProgram.h"
#include "Theme.h"

#include <QClipboard>
#include <QLabel>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <numeric>

using namespace ferrolt;
using namespace std::chrono_literals;

class LogConsoleViewTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theHeaderIsThatOfTheDesign_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::addRow("light") << Theme::lightPalette();
        QTest::addRow("dark") << Theme::darkPalette();
    }
    void theHeaderIsThatOfTheDesign() {
        QFETCH(QPalette, palette);
        ApplicationLook look;
        look.setPixelSize(13);
        look.setPalette(palette);
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        QTRY_VERIFY(console.copyButton().isEnabled());
        const auto place = [&](const QWidget *widget) {
            return QRect(widget->mapTo(&console.view, QPoint()), widget->size());
        };
        const auto *const title = console.view.findChild<QLabel *>();
        const auto *const badge = console.view.findChild<StatusBadge *>();
        constexpr int line = 1;  // around the panel

        // Title, space, button, badge.
        QCOMPARE(title->text(), QString("Lumora Core Engine"));
        QCOMPARE(title->font(), Theme::headline());
        QCOMPARE(place(title).left(), line + 16);
        QCOMPARE(title->width(), title->sizeHint().width());
        QCOMPARE(place(badge).right() + 1, console.view.width() - line - 16);
        QCOMPARE(place(&console.copyButton()).right() + 1 + 8, place(badge).left());
        const int highest = std::max({title->height(), badge->height(), console.copyButton().height()});
        QCOMPARE(title->parentWidget()->height(), 10 + highest + 10);
        for (const QWidget *part : {static_cast<const QWidget *>(title), static_cast<const QWidget *>(badge),
                                    static_cast<const QWidget *>(&console.copyButton())})
            QVERIFY(qAbs(place(part).center().y() - place(title->parentWidget()).center().y()) <= 1);

        // The badge: 8 and 4 around a dot, 4 and a word in bold.
        QFont bold = Theme::caption();
        bold.setBold(true);
        const QFontMetrics metrics(bold);
        const auto checkBadge = [&](const QString &word, const QColor &color) {
            QCOMPARE(badge->text(), word);
            QCOMPARE(badge->size(),
                     QSize(8 + 8 + 4 + metrics.horizontalAdvance(word) + 8, 4 + metrics.height() + 4));
            const QImage picture = console.view.grab().toImage();
            const QRect whole = place(badge);
            const QPoint middle = whole.topLeft() + QPoint(8 + 4, whole.height() / 2);
            // Around the bar.
            for (int i = -3; i < 3; ++i)
                QCOMPARE(picture.pixelColor(middle + QPoint(i, 1)), color);
            for (int i = -2; i < 2; ++i)
                QCOMPARE(picture.pixelColor(middle + QPoint(-3, i)), color);
            for (const QPoint &beside :
                 {QPoint(-5, 0), QPoint(4, 0), QPoint(0, -6), QPoint(0, 5), QPoint(-4, -4)})
                QCOMPARE(picture.pixelColor(middle + beside), Theme::controlBackground(palette));
            QVERIFY(hasColor(picture, whole.adjusted(8 + 8 + 4, 4, -8, -4), color));
            QCOMPARE(picture.pixelColor(whole.topLeft()), Theme::windowBackground(palette));
            QCOMPARE(picture.pixelColor(whole.topLeft() + QPoint(9, 0)), Theme::controlBackground(palette));
            QCOMPARE(picture.pixelColor(whole.topLeft() + QPoint(3, 3)), Theme::controlBackground(palette));
        };
        checkBadge("Stopped", Theme::secondaryText(palette));
        console.view.setRunning(true);
        QCoreApplication::processEvents();
        checkBadge("Running", Theme::green(palette));

        // The button before a copy and after it.
        const int side = SymbolView::sideBeside(Theme::body());
        const auto buttonHas = [&](Symbol symbol, const QColor &tint) {
            return placeOfSymbol(console.view.grab().toImage(), place(&console.copyButton()), side, symbol,
                                 tint)
                .has_value();
        };
        QVERIFY(buttonHas(Symbol::DocOnDoc, Theme::accent(palette)));
        QTest::mouseClick(&console.copyButton(), Qt::LeftButton);
        QVERIFY(buttonHas(Symbol::Checkmark, Theme::green(palette)));
        QVERIFY(!buttonHas(Symbol::DocOnDoc, Theme::accent(palette)));
        console.time.advance(1200ms);
        QTRY_VERIFY(buttonHas(Symbol::DocOnDoc, Theme::accent(palette)));

        // The text begins below the title.
        const QRectF text = console.area().rectangleOf({0, ByteOffset{0}});
        QCOMPARE(console.area().viewport()->mapTo(&console.view, text.topLeft().toPoint()).x(), line + 16);
    }

    void withNoEntriesTheCopyButtonIsDisabledAndThereIsOnlyTheMarker() {
        ConsoleFixture console;
        console.show();
        QVERIFY(!console.copyButton().isEnabled());
        QTest::mouseClick(&console.copyButton(), Qt::LeftButton);
        QVERIFY(console.clipboard.calls.empty());

        const QWidget *const viewport = console.area().viewport();
        const auto children = viewport->findChildren<QWidget *>();
        QCOMPARE(children.size(), 1);
        QCOMPARE(children.front()->objectName(), QStringLiteral("lumBottom"));
        QCOMPARE(console.marker().height(), 1);
        QCOMPARE(console.marker().y(), LogLayout::padding);
        const QImage image = console.area().viewport()->grab().toImage();
        const QRgb background = Theme::textBackground(console.view.palette()).rgb();
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                QCOMPARE(image.pixel(x, y), background);
    }

    void theCopyButtonIsEnabledOnceThereIsAnEntry() {
        ConsoleFixture console;
        console.show();
        console.append("Lumora Core started.\n");
        QTRY_VERIFY(console.copyButton().isEnabled());
    }

    void entriesAreCopiedOneAfterTheOtherWithNothingBetween() {
        ConsoleFixture console;
        console.append("first line\n");
        console.append("second line\n");
        console.append("a chunk that ends in the middle of");
        console.append(" a line\n");
        console.show();
        QTest::mouseClick(&console.copyButton(), Qt::LeftButton);
        QCOMPARE(console.clipboard.calls, (std::vector<std::string>{"clear", "set"}));
        QCOMPARE(console.clipboard.text,
                 "first line\nsecond line\na chunk that ends in the middle of a line\n");
    }

    void twoEqualEntriesAreTwoRows() {
        ConsoleFixture console;
        console.append("the same\n");
        console.append("the same\n");
        console.show();
        const auto first = console.area().rectangleOf({0, ByteOffset{0}});
        const auto second = console.area().rectangleOf({1, ByteOffset{0}});
        QCOMPARE(second.top() - first.top(), first.height() + 4);
        const QImage image = console.area().viewport()->grab().toImage();
        const QRect firstRow(16, static_cast<int>(first.top()), 200, static_cast<int>(first.height()));
        const QImage one = image.copy(firstRow);
        const QImage two = image.copy(firstRow.translated(0, static_cast<int>(second.top() - first.top())));
        QCOMPARE(one, two);
        const QColor background = one.pixelColor(one.width() - 1, 0);
        bool ink = false;
        for (int x = 0; x < one.width(); ++x)
            ink = ink || one.pixelColor(x, one.height() / 2) != background;
        QVERIFY(ink);
    }

    void copyingTwiceTurnsTheIconBackAfterTheFirst() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        QCOMPARE(console.copyButton().icon().name(), QString("doc.on.doc"));
        QTest::mouseClick(&console.copyButton(), Qt::LeftButton);
        QCOMPARE(console.copyButton().icon().name(), QString("checkmark"));
        console.time.advance(700ms);
        QTest::mouseClick(&console.copyButton(), Qt::LeftButton);
        QCOMPARE(console.copyButton().icon().name(), QString("checkmark"));
        console.time.advance(499ms);
        QCOMPARE(console.copyButton().icon().name(), QString("checkmark"));
        console.time.advance(1ms);
        QCOMPARE(console.copyButton().icon().name(), QString("doc.on.doc"));
        console.time.advance(700ms);
        QCOMPARE(console.copyButton().icon().name(), QString("doc.on.doc"));
        QCOMPARE(console.time.pending(), 0U);
    }

    void aResetThatComesAfterTheViewHasGoneDoesNothing() {
        LogBuffer log;
        log.append("text\n");
        RecordingClipboard clipboard;
        ManualTime time;
        {
            LogConsoleView view(QStringLiteral("Qor Client"), log, QStringLiteral("qorBottom"), clipboard,
                                time);
            view.show();
            view.findChild<QPushButton *>()->click();
        }
        time.advance(2s);
        QCOMPARE(clipboard.text, "text\n");
    }

    void theIconOfOneConsoleIsItsOwn() {
        ConsoleFixture engine;
        ConsoleFixture client(QStringLiteral("Qor Client"));
        engine.append("text\n");
        client.append("text\n");
        engine.show();
        client.show();
        QTest::mouseClick(&engine.copyButton(), Qt::LeftButton);
        QCOMPARE(engine.copyButton().icon().name(), QString("checkmark"));
        QCOMPARE(client.copyButton().icon().name(), QString("doc.on.doc"));
    }

    void theBadgeChangesAtOnceWhenTheServiceStartsOrStops() {
        ConsoleFixture console;
        console.show();
        StatusBadge &badge = *console.view.findChild<StatusBadge *>();
        QCOMPARE(badge.text(), QStringLiteral("Stopped"));
        const auto dot = [&] { return badge.grab().toImage().pixelColor(8 + 4, badge.height() / 2 + 2); };
        QCOMPARE(dot(), Theme::secondaryText(console.view.palette()));
        console.view.setRunning(true);
        QCOMPARE(badge.text(), QStringLiteral("Running"));
        QCOMPARE(badge.accessibleName(), QStringLiteral("Running"));
        QCOMPARE(dot(), Theme::green(console.view.palette()));
        console.view.setRunning(false);
        QCOMPARE(badge.text(), QStringLiteral("Stopped"));
    }

    void theCopyButtonIsWorkedByTheKeyboard() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        console.copyButton().setFocus(Qt::TabFocusReason);
        for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
            console.clipboard.text.clear();
            QTest::keyClick(&console.copyButton(), key);
            QCOMPARE(console.clipboard.text, "text\n");
        }
        QTest::keyClick(&console.copyButton(), Qt::Key_Tab);
        QVERIFY(console.area().hasFocus());
    }

    void theFocusRingGoesWithTheFocus() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        const auto buttonAndText = [&] {
            return std::pair(console.copyButton().grab().toImage(),
                             console.area().viewport()->grab().toImage());
        };
        console.area().setFocus(Qt::MouseFocusReason);
        const auto without = buttonAndText();
        console.copyButton().setFocus(Qt::TabFocusReason);
        QVERIFY(buttonAndText().first != without.first);
        console.area().setFocus(Qt::TabFocusReason);
        QVERIFY(buttonAndText().second != without.second);
        // Given by the program this time: neither is reached by the keyboard.
        console.copyButton().setFocus(Qt::OtherFocusReason);
        QCOMPARE(buttonAndText().first, without.first);
        console.area().setFocus(Qt::OtherFocusReason);
        QCOMPARE(buttonAndText().second, without.second);
    }

    void theBadgesDotTellsByItsFormToo() {
        ConsoleFixture console;
        console.show();
        StatusBadge &badge = *console.view.findChild<StatusBadge *>();
        const QRect dot(8, (badge.height() - 8) / 2, 8, 8);
        const QString stopped = grayShape(badge.grab().toImage(), dot);
        console.view.setRunning(true);
        const QString running = grayShape(badge.grab().toImage(), dot);
        QVERIFY2(running.contains("########\n########\n########\n########\n"), qPrintable(running));
        QVERIFY2(stopped.contains("########\n##....##\n##....##\n########\n"), qPrintable(stopped));
    }

    void theBadgeIsMirroredFromRightToLeft() {
        ConsoleFixture console;
        console.view.setLayoutDirection(Qt::RightToLeft);
        console.show();
        const StatusBadge &badge = *console.view.findChild<StatusBadge *>();
        const QImage picture = console.view.findChild<StatusBadge *>()->grab().toImage();
        const QColor dot = Theme::secondaryText(console.view.palette());
        const QColor card = Theme::controlBackground(console.view.palette());
        QCOMPARE(picture.pixelColor(badge.width() - 1 - (8 + 4), badge.height() / 2 + 2), dot);
        // Dot, gap and text, from right to left; the padding is free.
        for (int y = 4; y < badge.height() - 4; ++y) {
            QCOMPARE(picture.pixelColor(badge.width() - 1 - (8 + 8 + 2), y), card);
            QCOMPARE(picture.pixelColor(6, y), card);
        }
    }

    void theLogStaysAtTheLeftFromRightToLeftAndItsScrollBarGoesThere() {
        const auto picture = [](Qt::LayoutDirection direction) {
            ConsoleFixture console;
            console.view.setLayoutDirection(direction);
            console.append("[engine] done (100 %).\n");
            console.append("\xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d: 1 of 2\n");
            console.show();
            return console.area().viewport()->grab().toImage();
        };
        QCOMPARE(picture(Qt::RightToLeft), picture(Qt::LeftToRight));
        ConsoleFixture console;
        console.view.setLayoutDirection(Qt::RightToLeft);
        console.show();
        console.appendLines(100);
        const QScrollBar *const bar = console.area().verticalScrollBar();
        QTRY_VERIFY(bar->isVisible());
        QVERIFY(bar->mapTo(&console.view, QPoint()).x() <= 1);
    }

    /// As in a theme of dark windows with light views.
    void theTextIsReadableWhereViewsAndWindowsDiffer() {
        ConsoleFixture console;
        QPalette palette = Theme::darkPalette();
        palette.setColor(QPalette::Base, Qt::white);
        palette.setColor(QPalette::Text, Qt::black);
        console.view.setPalette(palette);
        console.append("text that is to be read\n");
        console.show();
        const QImage picture = console.area().viewport()->grab().toImage();
        double best = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                best = std::max(best, Theme::contrast(picture.pixelColor(x, y), Qt::white));
        }
        QVERIFY2(best > 7, qPrintable(QString::number(best)));
    }

    void namesAndTexts() {
        ConsoleFixture console(QStringLiteral("A & B <i>console</i>"));
        console.show();
        QCOMPARE(console.copyButton().toolTip(), QStringLiteral("Copy this log to the clipboard"));
        QCOMPARE(console.copyButton().accessibleName(), console.copyButton().toolTip());
        QCOMPARE(console.area().accessibleName(), QStringLiteral("A & B <i>console</i>"));
        QCOMPARE(console.view.minimumSize(), QSize(300, 150));
    }

    void theHeaderFitsTheSmallestPanelWithALargeFont() {
        ApplicationLook look;
        look.setPointSize(18);
        ConsoleFixture console;
        console.show({300, 150});
        QCOMPARE(console.view.size(), QSize(300, 150));
        const QWidget &badge = *console.view.findChild<StatusBadge *>();
        QVERIFY(badge.mapTo(&console.view, badge.rect().topRight()).x() < 300 - 16);
        QVERIFY(badge.size() == badge.sizeHint());
    }

    void theFontFollowsTheDesktopsWhileShown() {
        const QFont before = QApplication::font();
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        const QRectF small = console.area().rectangleOf({0, ByteOffset{0}});
        QFont large = before;
        large.setPointSize(before.pointSize() * 2);
        QApplication::setFont(large);
        QTRY_VERIFY(console.area().rectangleOf({0, ByteOffset{0}}).height() > small.height() * 1.5);
        QApplication::setFont(before);
        QTRY_COMPARE(console.area().rectangleOf({0, ByteOffset{0}}).height(), small.height());
    }

    void theColoursFollowTheDesktopsWhileShown() {
        QApplication::setPalette(Theme::lightPalette());
        ConsoleFixture console;
        console.show();
        const auto pixel = [&](int y) { return console.view.grab().toImage().pixelColor(250, y); };
        QCOMPARE(pixel(200), Theme::textBackground(Theme::lightPalette()));
        QCOMPARE(pixel(5), Theme::windowBackground(Theme::lightPalette()));
        QApplication::setPalette(Theme::darkPalette());
        QTRY_COMPARE(pixel(200), Theme::textBackground(Theme::darkPalette()));
        QCOMPARE(pixel(5), Theme::windowBackground(Theme::darkPalette()));
        QApplication::setPalette(Theme::lightPalette());
    }

    void theBorderIsALineInsideThePanel() {
        ConsoleFixture console;
        console.show();
        const QImage image = console.view.grab().toImage();
        const QColor separator = Theme::separator(console.view.palette());
        for (const QPoint point : {QPoint(0, 100), QPoint(image.width() - 1, 100), QPoint(100, 0),
                                   QPoint(100, image.height() - 1)})
            QCOMPARE(image.pixelColor(point), separator);
        QVERIFY(image.pixelColor(1, 100) != separator);
        QVERIFY(image.pixelColor(image.width() - 2, 100) != separator);
    }

    void aFullLogIsCopiedToTheRealClipboardWithoutAFreeze() {
        LogBuffer log;
        for (int i = 0; i < 1000; ++i)
            log.append(QByteArray(65535, 'a') + '\n');
        QtClipboard clipboard;
        ManualTime time;
        LogConsoleView view(QStringLiteral("Qor Client"), log, QStringLiteral("qorBottom"), clipboard, time);
        view.show();
        const CpuTime clock;
        view.findChild<QPushButton *>()->click();
        const auto taken = clock.milliseconds();
        QVERIFY2(taken < 100, qPrintable(QString::number(taken)));
        const QMimeData *const data = QGuiApplication::clipboard()->mimeData();
        QVERIFY(data->hasText());
        QCOMPARE(data->text().size(), 65536 * 1000);
        QCOMPARE(data->data(QStringLiteral("text/plain;charset=utf-8")).size(), 65536 * 1000);
        // A copy is of the log as it was.
        while (log.size() > 1)
            log.takeFirst();
        QCOMPARE(QGuiApplication::clipboard()->text().size(), 65536 * 1000);
        QGuiApplication::clipboard()->clear();
    }

    /// Where the desktop has no find pasteboard; and not on the clipboard, which belongs to the user.
    void theTextSearchedForIsKeptBesideTheClipboard() {
        QtClipboard clipboard;
        QCOMPARE(clipboard.findText(), QString());
        clipboard.setText({"copied"});
        clipboard.setFindText(QStringLiteral("needle"));
        QCOMPARE(clipboard.findText(), QStringLiteral("needle"));
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("copied"));
        QGuiApplication::clipboard()->clear();
    }

    void theClipboardTakesTextThatIsNotAscii() {
        QtClipboard clipboard;
        clipboard.clearContents();
        clipboard.setText({"\xe6\xbc\xa2", QByteArray("\0x", 2), "\xf0\x9f\x98\x80\n"});
        QCOMPARE(QGuiApplication::clipboard()->text(), QString::fromUtf8("漢\0x😀\n", 10));
        QGuiApplication::clipboard()->clear();
    }
};

TEST_CLASS(LogConsoleViewTest, QApplication)
#include "LogConsoleViewTest.moc"

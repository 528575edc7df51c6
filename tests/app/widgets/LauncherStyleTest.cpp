#include "LauncherStyle.h"
#include "TestProgram.h"
#include "Theme.h"

#include <QApplication>
#include <QDialog>
#include <QFontDatabase>
#include <QMenu>
#include <QPainter>
#include <QProxyStyle>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyleFactory>
#include <QStyleOptionSlider>
#include <QTest>

#include <algorithm>

using namespace ferrolt;

class LauncherStyleTest : public QObject {
    Q_OBJECT

    /// A scroll area with a page three times as high as the view.
    struct Scene {
        QScrollArea area;
        Scene() {
            area.setFrameShape(QFrame::NoFrame);
            auto *const page = new QWidget;
            page->setFixedSize(150, 900);
            area.setWidget(page);
            area.resize(200, 300);
            area.show();
        }
        bool isShown() { return QTest::qWaitForWindowExposed(&area); }
        QScrollBar &bar() { return *area.verticalScrollBar(); }
        QRect partOf(QStyle::SubControl part) {
            QStyleOptionSlider option;
            option.initFrom(&bar());
            option.orientation = Qt::Vertical;
            option.minimum = bar().minimum();
            option.maximum = bar().maximum();
            option.sliderPosition = bar().value();
            option.pageStep = bar().pageStep();
            return bar().style()->subControlRect(QStyle::CC_ScrollBar, &option, part, &bar());
        }
        QColor colourAt(int y) { return bar().grab().toImage().pixelColor(bar().width() / 2, y); }
    };

  private Q_SLOTS:
    void initTestCase() { QApplication::setStyle(new LauncherStyle); }

    /// Of a push button, in pixels.
    void theFocusRingIsWiderWithHighContrast() {
        const auto ringWidth = [](const QPalette &palette) {
            QApplication::setPalette(palette);
            QWidget window;
            QPushButton button("OK", &window);
            window.resize(200, 80);
            window.show();
            window.activateWindow();
            if (!QTest::qWaitForWindowActive(&window))
                return 0;
            button.clearFocus();  // it got the focus when the window was activated
            button.setFocus(Qt::TabFocusReason);
            const QImage picture = button.grab().toImage();
            int width = 0;
            while (picture.pixelColor(width, picture.height() / 2) == Theme::accent(palette))
                ++width;
            return width;
        };
        QCOMPARE(ringWidth(Theme::lightPalette()), 2);
        QCOMPARE(ringWidth(Theme::lightPalette(Theme::Contrast::High)), 3);
        QCOMPARE(ringWidth(Theme::darkPalette(Theme::Contrast::High)), 3);
    }

    void theHandleStandsOutFromItsGround_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light, high contrast") << Theme::lightPalette(Theme::Contrast::High);
        QTest::newRow("dark, high contrast") << Theme::darkPalette(Theme::Contrast::High);
        QTest::newRow("light") << Theme::lightPalette();
        QTest::newRow("dark") << Theme::darkPalette();
    }
    void theHandleStandsOutFromItsGround() {
        QFETCH(QPalette, palette);
        QApplication::setPalette(palette);
        Scene s;
        QVERIFY(s.isShown());
        const QColor ground = s.colourAt(250);
        QCOMPARE(ground, Theme::windowBackground(palette));
        const double contrast = Theme::contrast(s.colourAt(50), ground);
        QVERIFY2(contrast >= 3, qPrintable(QString::number(contrast)));
        // Its length and place show the visible part of the page.
        QCOMPARE(s.partOf(QStyle::SC_ScrollBarSlider), QRect(0, 0, s.bar().width(), 100));
        s.bar().setValue(s.bar().maximum());
        QTRY_COMPARE(s.colourAt(50), ground);
        QVERIFY(s.colourAt(250) != ground);
    }

    void thereAreNoArrowButtons() {
        Scene s;
        QVERIFY(s.isShown());
        QVERIFY(s.partOf(QStyle::SC_ScrollBarAddLine).isEmpty());
        QVERIFY(s.partOf(QStyle::SC_ScrollBarSubLine).isEmpty());
        // A click at the end scrolls by a page.
        QTest::mouseClick(&s.bar(), Qt::LeftButton, {}, QPoint(7, s.bar().height() - 1));
        QCOMPARE(s.bar().value(), s.bar().pageStep());
        QTest::mouseClick(&s.bar(), Qt::LeftButton, {}, QPoint(7, 0));
        QCOMPARE(s.bar().value(), 0);
    }

    void theHandleIsDragged() {
        Scene s;
        QVERIFY(s.isShown());
        QTest::mousePress(&s.bar(), Qt::LeftButton, {}, QPoint(7, 50));
        QTest::mouseMove(&s.bar(), QPoint(7, 150));
        QTest::mouseRelease(&s.bar(), Qt::LeftButton, {}, QPoint(7, 150));
        QCOMPARE(s.bar().value(), 300);
    }

    void aDialogsDefaultButtonHasTheAccentColourAndTheRingOfTheKeyboard() {
        QApplication::setPalette(Theme::lightPalette());
        QDialog dialog;
        QPushButton other("Other", &dialog);
        other.setAutoDefault(false);
        QPushButton button("OK", &dialog);
        button.setDefault(true);
        other.move(100, 0);
        dialog.resize(300, 100);
        dialog.show();
        dialog.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        const auto surface = [](QPushButton &of) {
            return of.grab().toImage().pixelColor(6, of.height() / 2);
        };
        QCOMPARE(surface(button), Theme::accent(Theme::lightPalette()));
        QCOMPARE(surface(other), Theme::controlBackground(Theme::lightPalette()));
        QVERIFY(button.sizeHint().height() >= 32);

        other.setFocus(Qt::MouseFocusReason);
        const QImage plain = button.grab().toImage();
        QTest::keyClick(&other, Qt::Key_Backtab, Qt::ShiftModifier);
        QTRY_VERIFY(button.hasFocus());
        QVERIFY(button.grab().toImage() != plain);
    }

    void theButtonsOfADialogHaveNoPictures() {
        /// As Fusion on most desktops.
        class StyleWithPictures : public QProxyStyle {
            int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                          QStyleHintReturn *returned) const override {
                return hint == SH_DialogButtonBox_ButtonsHaveIcons
                           ? 1
                           : QProxyStyle::styleHint(hint, option, widget, returned);
            }
        };
        LauncherStyle style;
        style.setBaseStyle(new StyleWithPictures);
        QCOMPARE(style.styleHint(QStyle::SH_DialogButtonBox_ButtonsHaveIcons, nullptr, nullptr, nullptr), 0);
    }

    void aSwitchInAMenuHasAMarkOrNothing() {
        QApplication::setPalette(Theme::darkPalette());
        QMenu menu;
        QAction *const choice = menu.addAction("Choice");
        choice->setCheckable(true);
        menu.addAction("Other");
        const auto coloursBeforeTheText = [&] {
            const QRect item = menu.actionGeometry(choice);
            const QImage picture =
                menu.grab(QRect(item.left() + 2, item.top() + 2, 18, item.height() - 4)).toImage();
            QSet<QRgb> colours;
            for (int y = 0; y < picture.height(); ++y)
                for (int x = 0; x < picture.width(); ++x)
                    colours.insert(picture.pixel(x, y));
            return colours;
        };
        menu.ensurePolished();
        QCOMPARE(coloursBeforeTheText().size(), 1);
        choice->setChecked(true);
        QVERIFY(coloursBeforeTheText().contains(Theme::darkPalette().color(QPalette::Text).rgb()));
    }

    void aDefaultButtonsTextIsOfMediumWeightWhereTheFontHasIt_data() {
        QTest::addColumn<QFont::Weight>("weight");
        QTest::newRow("Inter") << QFont::Medium;
        QTest::newRow("DejaVu Sans") << QFont::Normal;  // has only bold besides
    }
    void aDefaultButtonsTextIsOfMediumWeightWhereTheFontHasIt() {
        const QString family = QTest::currentDataTag();
        QVERIFY(QFontDatabase::hasFamily(family));
        QStyleOptionButton option;
        option.rect = QRect(0, 0, 100, 40);
        option.state = QStyle::State_Enabled;
        option.features = QStyleOptionButton::DefaultButton;
        option.text = "Save";
        QImage picture(option.rect.size(), QImage::Format_RGB32);
        QPainter painter(&picture);
        painter.setFont(QFont(family));
        QApplication::style()->drawControl(QStyle::CE_PushButton, &option, &painter);
        QTEST(painter.font().weight(), "weight");
    }

    void aDisabledDefaultButtonIsNotFilled() {
        QApplication::setPalette(Theme::lightPalette());
        QPushButton button("Save");
        button.setDefault(true);
        button.setEnabled(false);
        QCOMPARE(button.grab().toImage().pixelColor(6, button.height() / 2),
                 Theme::controlBackground(Theme::lightPalette()));
    }

    void aFlatButtonHasASurfaceOnlyUnderThePointer() {
        QApplication::setPalette(Theme::lightPalette());
        QWidget window;
        QPushButton button("Done", &window);
        button.setFlat(true);
        button.setAutoDefault(true);  // and so the default one while it has the focus
        window.resize(300, 100);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::mouseMove(window.windowHandle(), QPoint(250, 80));
        button.setFocus();
        const auto surface = [&] { return window.grab().toImage().pixelColor(6, button.height() / 2); };
        QTRY_COMPARE(surface(), Theme::windowBackground(Theme::lightPalette()));
        QTest::mouseMove(window.windowHandle(), button.geometry().center());
        QTRY_COMPARE(surface(), Theme::separator(Theme::lightPalette()));
    }

    void aClickAfterTabLeavesNoFocusRing() {
        QWidget window;
        QPushButton first("First", &window);
        QPushButton second("Second", &window);
        second.move(150, 0);
        window.resize(300, 100);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const auto edge = [&] { return window.grab().toImage().pixelColor(151, second.height() / 2); };
        first.setFocus();
        const QColor without = edge();
        QTest::keyClick(&first, Qt::Key_Tab);
        QVERIFY(second.hasFocus());
        QVERIFY(edge() != without);
        QTest::mouseClick(&first, Qt::LeftButton);
        QTest::mouseClick(&second, Qt::LeftButton);
        QVERIFY(second.hasFocus());
        QTest::mouseMove(window.windowHandle(), QPoint(20, 80));
        QTRY_COMPARE(edge(), without);
    }

    void theDesktopsOwnStyleStays() {
        QApplication::setStyle(QStyleFactory::create("windows"));
        LauncherStyle::install();
        QVERIFY(!qobject_cast<LauncherStyle *>(QApplication::style()));
        QApplication::setStyle(QStyleFactory::create("fusion"));
        LauncherStyle::install();
        QVERIFY(qobject_cast<LauncherStyle *>(QApplication::style()));
    }

    void aMenuBarLoadsNoPictures() {
        const LauncherStyle style;
        QVERIFY(style.standardIcon(QStyle::SP_ToolBarHorizontalExtensionButton, nullptr, nullptr).isNull());
        QVERIFY(!style.standardIcon(QStyle::SP_LineEditClearButton, nullptr, nullptr).isNull());
    }
};

TEST_CLASS(LauncherStyleTest, QApplication)
#include "LauncherStyleTest.moc"

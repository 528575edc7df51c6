#include "ApplicationLook.h"
#include "FatalError.h"
#include "LauncherPrefs.h"
#include "LauncherStyle.h"
#include "PathResolvers.h"
#include "SymbolPlace.h"
#include "SymbolView.h"
#include "TestProgram.h"
#include "TextField.h"
#include "Theme.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QProxyStyle>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QtMath>

#include <fstream>
#include <sstream>

using namespace ferrolt;
using namespace std::chrono_literals;

class LauncherPrefsTest : public QObject {
    Q_OBJECT

    /// The form without a window around it, with its own configuration file.
    struct Form {
        TestTree tree;
        std::shared_ptr<ManualTime> time = std::make_shared<ManualTime>();
        // Shared: a queued start may run after the form was destroyed.
        std::shared_ptr<int> starts = std::make_shared<int>();
        std::unique_ptr<LauncherPrefs> prefs;

        explicit Form(const std::string &configuration = std::string()) {
            if (!configuration.empty())
                TestTree::write(tree.clientConfiguration(), configuration);
            usePathRoots(tree.roots());
            prefs = std::make_unique<LauncherPrefs>([starts = starts] { ++*starts; }, time);
            prefs->resize(800, 640);
            show();
        }

        void show() { WindowFixture::show(*prefs); }

        TextField *email() const { return named<TextField>(*prefs, "E-Mail Address"); }
        TextField *entity() const { return named<TextField>(*prefs, "User / Company Name"); }
        TextField *displayName() const { return named<TextField>(*prefs, "Machine Display Name (Optional)"); }
        QPushButton *button() const { return named<QPushButton>(*prefs, "Save & Apply Configuration"); }

        void press() const { QTest::mouseClick(button(), Qt::LeftButton); }

        /// The text of the status line that is shown, if one is.
        QString statusLine() const {
            QStringList shown;
            for (const QString &text :
                 {QString("Settings applied successfully!"),
                  QString("Note: Missing required E-Mail and User/Company credentials.")}) {
                const QWidget *label = named(*prefs, text);
                if (label && label->isVisible())
                    shown.append(text);
            }
            return shown.join(" and ");
        }

        std::string configuration() const {
            std::ostringstream text;
            text << std::ifstream(tree.clientConfiguration()).rdbuf();
            return text.str();
        }
    };

    inline static const QString success = "Settings applied successfully!";
    inline static const QString missing = "Note: Missing required E-Mail and User/Company credentials.";
    inline static const QString none;

    static constexpr auto complete = "MinerEmailAddress = ada@example.org\nMinerEntityName = Ada Lovelace\n";

  private Q_SLOTS:
    void initTestCase() { LauncherStyle::install(); }

    void theFirstLaunchHasEmptyFieldsAndSavingCreatesTheFile() {
        Form form;
        for (const TextField *field : {form.email(), form.entity(), form.displayName()})
            QCOMPARE(field->text(), QString());
        QCOMPARE(form.statusLine(), missing);

        form.press();
        QTRY_COMPARE(form.statusLine(), success);
        QVERIFY(form.configuration().find("MinerEmailAddress") != std::string::npos);
        QVERIFY(form.configuration().find("OrbixPort") != std::string::npos);
        QTRY_COMPARE(*form.starts, 1);

        form.time->advance(2999ms);
        QCoreApplication::processEvents();
        QCOMPARE(form.statusLine(), success);
        form.time->advance(1ms);
        QTRY_COMPARE(form.statusLine(), missing);
    }

    void anEmptyNameIsMissedAndAnEmptyDisplayNameIsNot() {
        Form form;
        QTest::keyClicks(form.email(), "ada@example.org");
        QCoreApplication::processEvents();
        QCOMPARE(form.statusLine(), missing);
        QTest::keyClicks(form.entity(), "Ada Lovelace");
        QTRY_COMPARE(form.statusLine(), none);
        form.email()->clear();
        QTRY_COMPARE(form.statusLine(), missing);
    }

    void blanksCountAsFilledUntilTheFormIsShownAgain() {
        Form form(complete);
        QCOMPARE(form.statusLine(), none);
        form.email()->selectAll();
        QTest::keyClicks(form.email(), "   ");
        QTest::qWait(0);
        QCOMPARE(form.statusLine(), none);
        form.press();
        QTRY_COMPARE(form.statusLine(), success);
        form.time->advance(3s);
        QTRY_COMPARE(form.statusLine(), none);

        form.prefs->hide();
        form.show();
        QCOMPARE(form.email()->text(), QString());
        QCOMPARE(form.statusLine(), missing);
    }

    void theSuccessLineEndsThreeSecondsAfterTheFirstOfTwoPresses() {
        Form form(complete);
        form.press();
        QTRY_COMPARE(form.statusLine(), success);
        form.time->advance(2s);
        form.press();
        QTRY_COMPARE(*form.starts, 2);
        QCOMPARE(form.statusLine(), success);
        form.time->advance(1s);
        QTRY_COMPARE(form.statusLine(), none);
        form.time->advance(2s);
        QTest::qWait(0);
        QCOMPARE(form.statusLine(), none);
        QCOMPARE(*form.starts, 2);
    }

    void unsavedEditsAreLostWhenTheFormIsShownAgain() {
        Form form(complete);
        QTest::keyClicks(form.email(), "typed");
        QVERIFY(form.email()->text() != "ada@example.org");
        form.prefs->hide();
        form.show();
        QCOMPARE(form.email()->text(), QString("ada@example.org"));
        QCOMPARE(form.entity()->text(), QString("Ada Lovelace"));
    }

    void whatIsTypedIsSavedUnchanged() {
        Form form;
        QTest::keyClicks(form.email(), " ada@example.org ");
        form.entity()->insert(QString::fromUtf8("Ad\u00e4 \U0001F600"));
        QTest::keyClicks(form.displayName(), "no. 7");
        form.press();
        const std::string saved = form.configuration();
        QVERIFY(saved.find(" ada@example.org \n") != std::string::npos);
        QVERIFY(saved.find("Ad\u00e4 \U0001F600\n") != std::string::npos);
        QVERIFY(saved.find("no. 7\n") != std::string::npos);
    }

    void pastedLinesCannotBecomeLinesOfTheFile() {
        Form form;
        QApplication::clipboard()->setText("ada@example.org\r\nMinerEntityName = Mallory\n");
        QTest::keySequence(form.email(), QKeySequence::Paste);
        form.press();
        QVERIFY(form.configuration().find("\nMinerEntityName = Mallory") == std::string::npos);
        QVERIFY(form.configuration().find("ada@example.org MinerEntityName = Mallory\n") !=
                std::string::npos);
    }

    void enterInAFieldPressesNothing() {
        Form form(complete);
        for (TextField *field : {form.email(), form.entity(), form.displayName()}) {
            field->setFocus();
            QTest::keyClick(field, Qt::Key_Return);
            QTest::keyClick(field, Qt::Key_Enter);
        }
        QTest::qWait(0);
        QCOMPARE(*form.starts, 0);
        QCOMPARE(form.statusLine(), none);
    }

    void theButtonIsAlwaysEnabledAndWorksWithTheKeyboard() {
        Form form;
        QVERIFY(form.button()->isEnabled());
        form.button()->setFocus();
        QTest::keyClick(form.button(), Qt::Key_Space);
        QTRY_COMPARE(*form.starts, 1);
        QTest::keyClick(form.button(), Qt::Key_Return);
        QTRY_COMPARE(*form.starts, 2);
        QVERIFY(form.button()->isEnabled());
    }

    void theSuccessLineComesAlsoWhenTheFileCannotBeWritten() {
        Form form;
        // A file stands where the folder should be.
        TestTree::write(form.tree.path() / "home/.qor", "in the way");
        form.press();
        QTRY_COMPARE(form.statusLine(), success);
        QTRY_COMPARE(*form.starts, 1);
    }

    void tabGoesThroughTheFormInTheOrderOfTheEye() {
        Form form;
        form.email()->setFocus();
        for (QWidget *next :
             {static_cast<QWidget *>(form.entity()), static_cast<QWidget *>(form.displayName()),
              static_cast<QWidget *>(form.button())}) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCOMPARE(QApplication::focusWidget(), next);
        }
    }

    void aScreenReaderFillsTheFormAndPressesTheButton() {
        Form form;
        const auto fill = [](QWidget *field, const QString &text) {
            QAccessible::queryAccessibleInterface(field)->setText(QAccessible::Value, text);
        };
        fill(form.email(), "ada@example.org");
        fill(form.entity(), "Ada Lovelace");
        QTRY_COMPARE(form.statusLine(), none);
        QAccessibleInterface *button = QAccessible::queryAccessibleInterface(form.button());
        QCOMPARE(button->role(), QAccessible::PushButton);
        QCOMPARE(button->text(QAccessible::Name), QString("Save & Apply Configuration"));
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_COMPARE(*form.starts, 1);
        QVERIFY(form.configuration().find("ada@example.org") != std::string::npos);
        QVERIFY(form.configuration().find("Ada Lovelace") != std::string::npos);
    }

    void theLayoutIsThatOfTheDesign() {
        ApplicationLook look;
        look.setPixelSize(13);
        Form form;
        const auto place = [&](QWidget *widget) {
            return QRect(widget->mapTo(form.prefs.get(), QPoint()), widget->size());
        };
        QApplication::processEvents();
        QCOMPARE(place(form.email()).topLeft(), QPoint(60, 64));
        QCOMPARE(place(form.email()).right() + 1, 800 - 32);
        QCOMPARE(place(form.email()).height(), 28);
        QCOMPARE(place(form.entity()).top() - place(form.email()).bottom() - 1, 12);
        QCOMPARE(place(form.displayName()).top() - place(form.entity()).bottom() - 1, 12);
        QCOMPARE(place(form.button()).topLeft(), QPoint(32, 224));
    }

    void everyPartOfTheFormHasItsTextSymbolColourAndPlace_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::addRow("light") << Theme::lightPalette();
        QTest::addRow("dark") << Theme::darkPalette();
    }
    void everyPartOfTheFormHasItsTextSymbolColourAndPlace() {
        QFETCH(QPalette, palette);
        ApplicationLook look;
        look.setPixelSize(13);
        look.setPalette(palette);
        Form form;
        QCoreApplication::processEvents();
        const auto place = [&](const QWidget *widget) {
            return QRect(widget->mapTo(form.prefs.get(), QPoint()), widget->size());
        };
        const auto widthOf = [](const QFont &type, const QString &text) {
            return qCeil(QFontMetricsF(type).horizontalAdvance(text));
        };
        const QColor surface = Theme::controlBackground(palette);
        const QColor ground = Theme::windowBackground(palette);
        const QColor faint = Theme::secondaryText(palette);
        QImage picture = form.prefs->grab().toImage();

        const QWidget *const title = named(*form.prefs, "Miner Client Registration");
        QVERIFY(title);
        QCOMPARE(place(title).topLeft(), QPoint(16, 16));
        QCOMPARE(title->sizeHint().width(), widthOf(Theme::headline(), "Miner Client Registration"));
        QCOMPARE(title->height(), qCeil(QFontMetricsF(Theme::headline()).height()) + 4);
        QVERIFY(hasColor(picture, place(title), Theme::primaryText(palette)));

        const int side = std::min(SymbolView::sideBeside(Theme::body()), 20);
        const auto row = [&](const TextField *field, const QString &text, Symbol symbol) {
            QCOMPARE(field->placeholderText(), text);
            QVERIFY(field->inputMethodHints().testFlag(Qt::ImhNoPredictiveText));
            const QRect beside(32, place(field).top(), 20, field->height());
            const auto corner = placeOfSymbol(picture, beside, side, symbol, faint);
            QVERIFY2(corner, qPrintable(text));
            QCOMPARE(*corner, beside.topLeft() + QPoint((20 - side) / 2, (field->height() - side) / 2));
        };
        row(form.email(), "E-Mail Address", Symbol::Envelope);
        row(form.entity(), "User / Company Name", Symbol::Person);
        row(form.displayName(), "Machine Display Name (Optional)", Symbol::Desktop);

        for (const QRect &card : {QRect(QPoint(16, place(title).bottom() + 1 + 12),
                                        QPoint(799 - 16, place(form.displayName()).bottom() + 16)),
                                  QRect(QPoint(16, place(form.button()).top() - 16),
                                        QPoint(799 - 16, place(form.button()).bottom()))}) {
            QCOMPARE(picture.pixelColor(card.topLeft()), ground);
            QCOMPARE(picture.pixelColor(card.topLeft() + QPoint(1, 1)), ground);
            QCOMPARE(picture.pixelColor(card.topLeft() + QPoint(12, 0)), surface);
            QCOMPARE(picture.pixelColor(card.topLeft() + QPoint(0, 12)), surface);
            QCOMPARE(picture.pixelColor(card.topRight()), ground);
            QCOMPARE(picture.pixelColor(card.topLeft() + QPoint(4, 4)), surface);
            QCOMPARE(picture.pixelColor(card.topLeft() + QPoint(12, -1)), ground);
        }

        const auto line = [&](const QString &text, Symbol symbol, const QFont &type, const QColor &color) {
            const QWidget *const label = named(*form.prefs, text);
            const QRect whole = place(label->parentWidget());
            picture = form.prefs->grab().toImage();
            QCOMPARE(whole.top(), place(form.button()).bottom() + 1 + 12);
            QCOMPARE(whole.left(), 32);
            const int lineSide = SymbolView::sideBeside(type);
            const auto corner = placeOfSymbol(picture, whole, lineSide, symbol, color);
            QVERIFY2(corner, qPrintable(text));
            QCOMPARE(corner->x(), 32);
            QVERIFY(corner->y() >= whole.top() + 4);
            QCOMPARE(place(label).left(), 32 + lineSide + 8);
            QCOMPARE(label->sizeHint().width(), widthOf(type, text));
            QVERIFY(hasColor(picture, place(label), color));
            QVERIFY(label->geometry().top() >= 4);
        };
        QCOMPARE(form.statusLine(), missing);
        line(missing, Symbol::InfoCircle, Theme::caption(), faint);
        form.press();
        QTRY_COMPARE(form.statusLine(), success);
        QCoreApplication::processEvents();
        line(success, Symbol::CheckmarkCircle, Theme::subheadline(), Theme::green(palette));
    }

    void whateverIsPastedComesBackWhenTheFormIsShownAgain_data() {
        QTest::addColumn<QString>("pasted");
        QTest::addColumn<QString>("saved");
        const auto same = [](const char *name, const QString &text) { QTest::newRow(name) << text << text; };
        same("a megabyte", QString("ada@example.org ").repeated(65536) + "z");
        same("right-to-left and combining marks",
             QString::fromUtf8("e\u0301\u202Eab\u202C\u200F\u05D0\u05D1"));
        same("emoji", QString::fromUtf8("\U0001F469\u200D\U0001F4BB\U0001F600"));
        QTest::newRow("NUL") << QString::fromLatin1("a\0b", 3) << "ab";
    }
    void whateverIsPastedComesBackWhenTheFormIsShownAgain() {
        QFETCH(QString, pasted);
        QFETCH(QString, saved);
        Form form(complete);
        QApplication::clipboard()->setText(pasted);
        form.entity()->selectAll();
        QTest::keySequence(form.entity(), QKeySequence::Paste);
        QCOMPARE(form.entity()->text(), saved);
        form.press();
        QTRY_COMPARE(form.statusLine(), success);
        form.prefs->hide();
        form.show();
        QCOMPARE(form.entity()->text(), saved);
        QCOMPARE(form.email()->text(), QString("ada@example.org"));
        QCOMPARE(form.displayName()->text(), QString());
    }

    void aSmallAreaScrollsAndShowsThatItDoes() {
        Form form;
        auto *scrollArea = form.prefs->findChild<QScrollArea *>();
        QVERIFY(!scrollArea->verticalScrollBar()->isVisible());
        form.prefs->resize(560, 160);
        QTRY_VERIFY(scrollArea->verticalScrollBar()->isVisible());
        // A control that gets the focus is scrolled into view.
        form.email()->setFocus();
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QVERIFY(form.button()->hasFocus());
        QTRY_VERIFY(QRect(QPoint(), scrollArea->viewport()->size())
                        .contains(QRect(form.button()->mapTo(scrollArea->viewport(), QPoint()),
                                        form.button()->size())));
    }

    void itIsNotLaidOutBeforeItIsShown() {
        class CountingStyle : public QProxyStyle {
          public:
            mutable int measured = 0;

          private:
            QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                                   const QWidget *widget) const override {
                if (type == CT_LineEdit || type == CT_PushButton)
                    ++measured;
                return QProxyStyle::sizeFromContents(type, option, size, widget);
            }
        };
        auto *const style = new CountingStyle;
        QApplication::setStyle(style);
        const auto restore = qScopeGuard([] { QApplication::setStyle(new LauncherStyle); });
        const LauncherPrefs prefs([] {}, std::make_shared<ManualTime>());
        QCOMPARE(style->measured, 0);
    }

    void withoutASupervisorToServeTheProgramEnds() {
        QVERIFY(isFatal([] { LauncherPrefs(nullptr, nullptr); }));
    }
};

TEST_CLASS(LauncherPrefsTest, QApplication)
#include "LauncherPrefsTest.moc"

#include "LauncherPrefs.h"
#include "PathResolvers.h"
#include "ProminentButton.h"
#include "TextField.h"
#include "WindowFixture.h"

#include <QClipboard>
#include <QLabel>
#include <QProcess>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include <fstream>
#include <sstream>

using namespace ferrolt;
using namespace std::chrono_literals;

class LauncherPrefsTest : public QObject {
    Q_OBJECT

    /// The form by itself, over a configuration of its own.
    struct Form {
        TestTree tree;
        std::shared_ptr<ManualTime> time = std::make_shared<ManualTime>();
        // A request is on its way still when the form that made it has gone.
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
        ProminentButton *button() const {
            return named<ProminentButton>(*prefs, "Save & Apply Configuration");
        }

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
        // A file where the folder should be.
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
        const QFont before = QApplication::font();
        QFont font = before;
        font.setPixelSize(13);
        QApplication::setFont(font);
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
        QApplication::setFont(before);
    }

    void aSmallAreaScrollsAndShowsThatItDoes() {
        Form form;
        auto *scrollArea = form.prefs->findChild<QScrollArea *>();
        QVERIFY(!scrollArea->verticalScrollBar()->isVisible());
        form.prefs->resize(560, 160);
        QTRY_VERIFY(scrollArea->verticalScrollBar()->isVisible());
        // The keyboard brings into view what it goes to.
        form.email()->setFocus();
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QVERIFY(form.button()->hasFocus());
        QTRY_VERIFY(QRect(QPoint(), scrollArea->viewport()->size())
                        .contains(QRect(form.button()->mapTo(scrollArea->viewport(), QPoint()),
                                        form.button()->size())));
    }

    void withoutASupervisorToServeTheProgramEnds() {
        QProcess program;
        program.start(QCoreApplication::applicationFilePath(), {"--without-supervisor"});
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitStatus(), QProcess::CrashExit);
    }
};

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    if (application.arguments().contains("--without-supervisor")) {
        LauncherPrefs prefs(nullptr, nullptr);
        return 0;
    }
    LauncherPrefsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "LauncherPrefsTest.moc"

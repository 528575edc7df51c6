#include "AboutDialog.h"
#include "MainMenu.h"
#include "PathResolvers.h"
#include "StateFolder.h"
#include "TestProgram.h"
#include "Waiting.h"
#include "WindowFixture.h"

#include <QAccessible>
#include <QAction>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

using namespace ferrolt;

class AboutDialogTest : public QObject {
    Q_OBJECT

    static AboutDialog *openFrom(MainWindow &window) {
        for (QAction *each : window.actions()) {
            if (each->menuRole() == QAction::AboutRole)
                each->trigger();
        }
        auto *const dialog = window.findChild<AboutDialog *>();
        if (dialog != nullptr && !QTest::qWaitForWindowActive(dialog))
            return nullptr;
        return dialog;
    }
    static QString value(const QWidget &dialog, const QString &label) {
        for (const QLineEdit *field : dialog.findChildren<QLineEdit *>()) {
            if (field->accessibleName() == label)
                return field->text();
        }
        return QString();
    }

  private Q_SLOTS:
    void initTestCase() {
        QApplication::setQuitOnLastWindowClosed(false);
        QGuiApplication::setApplicationDisplayName("Ferrolt Miner Launcher");
    }

    void itSaysWhatRunsAndWhereItsFilesAre() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        AboutDialog *const dialog = openFrom(window);
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), QString("About Ferrolt Miner Launcher"));
        QVERIFY(named(*dialog, "Ferrolt Miner Launcher"));
        QVERIFY(QRegularExpression("^\\d+\\.\\d+\\.\\d+$").match(value(*dialog, "Version")).hasMatch());
        const QRegularExpression build(
            "^(GCC|\\w*Clang) [\\d.]+, Qt [\\d.]+, \\w+, released \\d{4}-\\d\\d-\\d\\d$");
        QVERIFY2(build.match(value(*dialog, "Build")).hasMatch(), qPrintable(value(*dialog, "Build")));
        QCOMPARE(value(*dialog, "Qt"), QString(qVersion()));
        QCOMPARE(value(*dialog, "Program"), QCoreApplication::applicationFilePath());
        QCOMPARE(value(*dialog, "Client Folder"), QString(clientVarFolder().c_str()));
        QCOMPARE(value(*dialog, "State Folder"), stateFolder());
        QVERIFY(!value(*dialog, "Settings").isEmpty());
    }

    void theKeyboardReachesAndSelectsEverything() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        AboutDialog *const dialog = openFrom(window);
        QVERIFY(dialog);
        QStringList reached;
        QWidget *const first = named(*dialog, "Close");
        QTRY_COMPARE(QApplication::focusWidget(), first);
        do {
            QWidget *const focus = QApplication::focusWidget();
            reached.append(QAccessible::queryAccessibleInterface(focus)->text(QAccessible::Name));
            if (auto *const field = qobject_cast<QLineEdit *>(focus)) {
                QVERIFY(field->isReadOnly());
                QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
                QTest::keyClick(field, Qt::Key_C, Qt::ControlModifier);
                QCOMPARE(QApplication::clipboard()->text(), field->text());
            } else if (auto *const label = qobject_cast<QLabel *>(focus)) {
                QTest::keyClick(label, Qt::Key_A, Qt::ControlModifier);
                QCOMPARE(label->selectedText(), label->text());
            }
            QTest::keyClick(focus, Qt::Key_Tab);
        } while (QApplication::focusWidget() != first && reached.size() < 20);
        QCOMPARE(reached, (QStringList{"Close", "Ferrolt Miner Launcher", "Version", "Build", "Qt", "Program",
                                       "Client Folder", "State Folder", "Settings", "Copy Details"}));
    }

    void copyDetailsCopiesAllOfItAsText() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        AboutDialog *const dialog = openFrom(window);
        QVERIFY(dialog);
        QTest::mouseClick(named(*dialog, "Copy Details"), Qt::LeftButton);
        const QStringList lines = QApplication::clipboard()->text().split('\n');
        QCOMPARE(lines.first(), QString("Ferrolt Miner Launcher"));
        for (const QLineEdit *field : dialog->findChildren<QLineEdit *>())
            QVERIFY2(lines.contains(field->accessibleName() + ": " + field->text()),
                     qPrintable(lines.join('\n')));
    }

    void thereIsOneAndItGoesWithTheWindow() {
        WindowFixture fixture;
        MainWindow &window = fixture.open();
        QPointer<AboutDialog> dialog = openFrom(window);
        QVERIFY(dialog);
        QCOMPARE(openFrom(window), dialog.data());
        QCOMPARE(window.findChildren<AboutDialog *>().size(), 1);
        QTest::keyClick(dialog.data(), Qt::Key_Escape);
        QVERIFY(waitUntil([&] { return dialog == nullptr; }));
        dialog = openFrom(window);
        QVERIFY(dialog);
        window.close();
        QVERIFY(waitUntil([&] { return dialog == nullptr; }));
    }
};

TEST_MAIN(AboutDialogTest) {
    useLargeScreen();
    QApplication application(argc, argv);
    AboutDialogTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AboutDialogTest.moc"

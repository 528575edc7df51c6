#include "AboutDialog.h"
#include "ContentView.h"
#include "HomeLogView.h"
#include "LauncherStyle.h"
#include "LibreOfficeInstaller.h"
#include "Listener.h"
#include "LogConsoleView.h"
#include "LogTextArea.h"
#include "MenuButton.h"
#include "QtAlertPresenter.h"
#include "Sidebar.h"
#include "TestProgram.h"
#include "Theme.h"
#include "WindowFixture.h"

#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QtMath>

#include <csignal>
#include <optional>
#include <string>

using namespace ferrolt;

namespace {

/// A palette by its name, such as "dark", "light-contrast" or "dark-orange-mirrored".
QPalette paletteNamed(const QString &name) {
    const Theme::Contrast contrast =
        name.contains("contrast") ? Theme::Contrast::High : Theme::Contrast::Normal;
    const auto accent = name.contains("orange") ? std::optional(QColor(0xed, 0x5b, 0x00)) : std::nullopt;
    return name.startsWith("dark") ? Theme::darkPalette(contrast, accent)
                                   : Theme::lightPalette(contrast, accent);
}

Qt::LayoutDirection directionNamed(const QString &name) {
    return name.contains("mirrored") ? Qt::RightToLeft : Qt::LeftToRight;
}

void waitFor(const std::function<bool()> &condition) {
    if (!QTest::qWaitFor(condition, 60000))
        qFatal("what was to be pictured did not come");
}

/// Saves a picture of the widget once it has stopped changing.
void save(QWidget &widget, const QString &name) {
    QImage last;
    int unchanged = 0;
    waitFor([&] {
        // Few pictures are compared: on a busy machine one of 3000 by 1920 pixels takes 0.2 s.
        QTest::qWait(40);
        const QImage now = widget.grab().toImage();
        unchanged = now == last ? unchanged + 1 : 0;
        last = now;
        return unchanged == 2;
    });
    if (!last.save(name + ".png"))
        qFatal("%s could not be written", qPrintable(name));
}

void takeHome(const QString &prefix) {
    Listener engine;
    WindowFixture fixture;
    fixture.tree.writeEnginePort(std::to_string(engine.port));
    MainWindow &window = fixture.open();
    fixture.vars->startServices();
    waitFor([&] { return fixture.vars->_isQorClientRunning.get(); });
    fixture.vars->appendLog("[engine] media engine 4.2 starting\n[engine] worker pool: 8 workers\n",
                            LogTarget::Lumora);
    fixture.vars->appendLog("[client] connected to nodes.test:8443 (8 connections)\n", LogTarget::QorClient);
    waitFor([&] { return named(window, "Qor Client, running") && !named(window, "Stopped"); });
    save(window, prefix + "home");
    fixture.vars->libreOfficeInstaller->progress->set(
        {InstallProgress::Phase::Downloading, "26.2.4", 143'000'000, 298'000'000});
    save(window, prefix + "progress");
    fixture.vars->libreOfficeInstaller->progress->set({});

    window.resize(800, 500);
    save(window, prefix + "minimum");

    window.resize(1000, 640);
    for (int i = 0; i < 1000; ++i) {
        fixture.vars->appendLog("[engine] frame " + QByteArray::number(i) + " done in 16 ms\n",
                                LogTarget::Lumora);
    }
    LogConsoleView *console = window.findChild<HomeLogView *>()->lumoraConsole();
    // Scrolling to the newest entry would move the hit off the screen.
    const QScrollBar *const bar = console->textArea().verticalScrollBar();
    waitFor([&] {
        return bar->maximum() > 1000 && bar->maximum() - bar->value() < 50 &&
               !console->textArea().isFollowing();
    });
    console->find();
    waitFor([&] { return QApplication::focusWidget()->inherits("QLineEdit"); });
    QTest::keyClicks(QApplication::focusWidget(), "99");
    save(window, prefix + "full-console-find");
}

void takeSettings(const QString &prefix) {
    WindowFixture fixture;
    fixture.tree.writeIdentity("ada@example.org", "");
    MainWindow &window = fixture.open();
    save(window, prefix + "settings");
    named(window, "User / Company Name")->setFocus(Qt::TabFocusReason);
    QTest::keyClicks(named(window, "User / Company Name"), "Ada Lovelace");
    QTest::mouseClick(named(window, "Save & Apply Configuration"), Qt::LeftButton);
    waitFor([&] { return named(window, "Settings applied successfully!"); });
    save(window, prefix + "settings-applied");
}

/// The menus, and what they open.
void takeMenus(const QString &prefix) {
    WindowFixture fixture;
    MainWindow &window = fixture.open();
    LogTextArea &area = window.content()->homeLogs()->lumoraConsole()->textArea();
    for (int i = 0; i < 1000; ++i)
        fixture.vars->appendLog("[engine] frame " + QByteArray::number(i) + " done in 16 ms\n",
                                LogTarget::Lumora);
    const QScrollBar *const bar = area.verticalScrollBar();
    waitFor(
        [&] { return bar->maximum() > 1000 && bar->maximum() - bar->value() < 50 && !area.isFollowing(); });
    area.setFocus();
    QTest::keyClick(&area, Qt::Key_Home);
    save(window, prefix + "newest-entry");

    const auto take = [&](QMenu *menu, const QString &name) {
        for (QAction *each : menu->actions()) {
            if (each->text().remove('&') == "Find Next")
                menu->setActiveAction(each);
        }
        save(*menu, prefix + name);
        menu->close();
    };
    QMenu *const compact = window.content()->sidebar()->menuButton()->menu();
    compact->popup(window.mapToGlobal(QPoint(20, 200)));
    take(compact, "menu");
    QContextMenuEvent rightClick(QContextMenuEvent::Mouse, QPoint(50, 50), area.mapToGlobal(QPoint(50, 50)));
    QCoreApplication::sendEvent(area.viewport(), &rightClick);
    take(qobject_cast<QMenu *>(QApplication::activePopupWidget()), "log-menu");

    const auto choose = [&](const QString &text) {
        for (QAction *each : window.actions()) {
            if (each->text().remove('&').startsWith(text))
                each->trigger();
        }
    };
    choose("About");
    waitFor([&] { return window.findChild<AboutDialog *>() != nullptr; });
    save(*window.findChild<AboutDialog *>(), prefix + "about");
    window.findChild<AboutDialog *>()->close();
    choose("Save Log As");
    waitFor([&] { return window.findChild<QFileDialog *>() != nullptr; });
    auto *const dialog = window.findChild<QFileDialog *>();
    save(*dialog, prefix + "save-log");
    Q_EMIT dialog->fileSelected("/no such folder/Lumora Core Engine.log");
    dialog->reject();
    waitFor([&] { return window.findChild<QMessageBox *>() != nullptr; });
    save(*window.findChild<QMessageBox *>(), prefix + "save-log-failed");
}

/// Null if none is shown. Not activeModalWidget(): a warning may be shown without being modal.
QMessageBox *shownAlert() {
    for (QWidget *const window : QApplication::topLevelWidgets())
        if (auto *const box = qobject_cast<QMessageBox *>(window); box != nullptr && box->isVisible())
            return box;
    return nullptr;
}

void takeAlerts(const QString &prefix) {
    QtAlertPresenter presenter;
    presenter.present(
        {.style = AlertStyle::Informational,
         .messageText = "Ferrolt Miner Missing Info",
         .informativeText = "You must provide an E-Mail address\nand User/Company name (must contain a "
                            "space)\nbefore the miner will do any work.",
         .button = "OK"},
        {});
    Listener engine;
    WindowFixture fixture;
    fixture.tree.writeEnginePort(std::to_string(engine.port));
    fixture.create();
    fixture.vars->startServices();
    waitFor([&] { return fixture.vars->_isQorClientRunning.get(); });
    kill(fixture.vars->_qorcp.get()->processIdentifier(), SIGKILL);
    waitFor([&] { return fixture.alerts->shown.size() == 1; });
    presenter.present(fixture.alerts->shown.front(), {});
    for (const QString name : {"alert-missing-info", "alert-stopped"}) {
        waitFor([] { return shownAlert() != nullptr; });
        QMessageBox *const box = shownAlert();
        save(*box, prefix + name);
        box->defaultButton()->click();  // keys, and a second click in a row, are ignored at first
        waitFor([&] { return shownAlert() != box; });
    }
}

/// Takes all pictures in one palette and font size.
int take(const QString &folder, const QString &palette, qreal points) {
    LauncherStyle::install();
    QFont font = QApplication::font();
    font.setPointSizeF(points);
    QApplication::setFont(font);
    QApplication::setApplicationDisplayName("Ferrolt Miner Launcher");
    QApplication::setPalette(paletteNamed(palette));
    QApplication::setLayoutDirection(directionNamed(palette));
    // A field's caret that blinks twice a second would keep its picture changing.
    QApplication::setCursorFlashTime(0);
    const QString prefix = folder + "/";
    takeHome(prefix);
    takeSettings(prefix);
    takeMenus(prefix);
    takeAlerts(prefix);
    return 0;
}

}  // namespace

/// Leaves pictures of the windows in the build folder for people to look at, and checks some of their pixels.
class PicturesTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theWindowsAtEveryScaleFontAndPalette_data() {
        QTest::addColumn<QString>("palette");
        QTest::addColumn<qreal>("scale");
        QTest::addColumn<qreal>("points");
        if (FERROLT_SANITIZED) {  // the others run the same code, some for ten times as long
            QTest::addRow("dark-1x") << "dark" << 1.0 << 10.0;
            return;
        }
        for (const QString palette : {"light", "dark"}) {
            for (const qreal scale : {1.0, 2.0})
                QTest::addRow("%s-%gx", qPrintable(palette), scale) << palette << scale << 10.0;
        }
        for (const QString palette :
             {"light-contrast", "dark-contrast", "light-orange", "dark-orange-mirrored", "light-mirrored"})
            QTest::addRow("%s-1x", qPrintable(palette)) << palette << 1.0 << 10.0;
        for (const qreal scale : {1.25, 1.5, 3.0})
            QTest::addRow("light-%gx", scale) << "light" << scale << 10.0;
        for (const qreal points : {7.0, 18.0})
            QTest::addRow("light-%gpt", points) << "light" << 1.0 << points;
    }
    void theWindowsAtEveryScaleFontAndPalette() {
        QFETCH(QString, palette);
        QFETCH(qreal, scale);
        QFETCH(qreal, points);
        const QDir folder(QString(FERROLT_PICTURES) + "/" + QTest::currentDataTag());
        QVERIFY(folder.mkpath("."));
        for (const QString &old : folder.entryList(QDir::Files))
            QVERIFY(QFile::remove(folder.filePath(old)));

        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_SCALE_FACTOR", QString::number(scale));
        environment.insert("QT_SCALE_FACTOR_ROUNDING_POLICY", "PassThrough");
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(QCoreApplication::applicationFilePath(),
                      {"PicturesTest", "--take", folder.path(), palette, QString::number(points)});
        QVERIFY(program.waitForFinished(280000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);

        const QPalette colors = paletteNamed(palette);
        const bool isMirrored = directionNamed(palette) == Qt::RightToLeft;
        for (const QString name : {"home", "settings", "settings-applied", "full-console-find", "minimum"}) {
            const QImage picture(folder.filePath(name + ".png"));
            const QSize size = name == "minimum" ? QSize(800, 500) : QSize(1000, 640);
            // Qt 6.4 places the panes of a mirrored splitter one pixel too far to the right.
            const auto pixel = [&](int x, int y) {
                return picture.pixelColor(isMirrored ? picture.width() - x : x, y);
            };
            const auto at = [&](double x, double y) { return pixel(qRound(x * scale), qRound(y * scale)); };
            QVERIFY2(qAbs(picture.width() - size.width() * scale) <= 1, qPrintable(name));
            QVERIFY2(qAbs(picture.height() - size.height() * scale) <= 1, qPrintable(name));
            QCOMPARE(at(100, 400), Theme::sidebarBackground(colors));
            QCOMPARE(pixel(qFloor(200 * scale) - 1, qRound(400 * scale)), Theme::separator(colors));
            QCOMPARE(at(600, 480), name.startsWith("settings") ? Theme::windowBackground(colors)
                                                               : Theme::textBackground(colors));
        }
        // The current hit is in view. No other text has its colour.
        const QImage found(folder.filePath("full-console-find.png"));
        int ofTheHit = 0;
        for (int y = 0; y < found.height(); ++y) {
            for (int x = 0; x < found.width(); ++x)
                ofTheHit += found.pixelColor(x, y) == QColor(0xff, 0xae, 0x2b) ? 1 : 0;
        }
        QVERIFY2(ofTheHit > 20, qPrintable(QString::number(ofTheHit)));
        for (const QString name : {"alert-missing-info", "alert-stopped", "newest-entry", "menu", "log-menu",
                                   "about", "save-log", "save-log-failed"})
            QVERIFY(!QImage(folder.filePath(name + ".png")).isNull());
    }
};

TEST_MAIN(PicturesTest) {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    useLargeScreen();
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.value(1) == "--take")
        return take(arguments.value(2), arguments.value(3), arguments.value(4).toDouble());
    qputenv("QT_QPA_PLATFORM", platform);  // for the programs that take the pictures
    PicturesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PicturesTest.moc"

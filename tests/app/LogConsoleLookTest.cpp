#include "ConsoleFixture.h"
#include "Theme.h"

#include <QDir>
#include <QPixmap>
#include <QtTest>

using namespace ferrolt;

class LogConsoleLookTest : public QObject {
    Q_OBJECT

  private:
    static void save(QWidget &widget, const QString &name) {
        const QDir folder(QCoreApplication::applicationDirPath() + QStringLiteral("/pictures"));
        QVERIFY(folder.mkpath(QStringLiteral(".")));
        QVERIFY(widget.grab().save(folder.filePath(name + QStringLiteral(".png"))));
    }

  private Q_SLOTS:
    void pictures() {
        for (const bool dark : {false, true}) {
            QApplication::setPalette(dark ? Theme::darkPalette() : Theme::lightPalette());
            ConsoleFixture console;
            console.view.setRunning(true);
            console.append("Lumora Core started.\n");
            console.append("[engine] media engine 4.2 starting\n[engine] worker pool: 8 workers\n");
            console.append("[engine] listening on 127.0.0.1:9877\n");
            console.append("tabs\there\tand\tthere\nsecond\tcolumn\n");
            console.append(
                "wide 漢字かな and e\xcc\x81 combining, emoji 😀, ✓ done, \xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d "
                "x\n");
            console.append("\x1b[31mred\x1b[0m 10%\r20%\r100%\r\n");
            console.append(
                "a long line that goes on and on and on until it has to be wrapped to the full width of the "
                "console and then some\n");
            console.show();
            save(console.view, dark ? QStringLiteral("console-dark") : QStringLiteral("console-light"));
            QTest::keyClick(&console.area(), Qt::Key_F, Qt::ControlModifier);
            QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("on"));
            QTest::qWait(50);
            save(console.view, dark ? QStringLiteral("find-dark") : QStringLiteral("find-light"));
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
            QTest::keyClick(&console.area(), Qt::Key_A, Qt::ControlModifier);
            save(console.view, dark ? QStringLiteral("selected-dark") : QStringLiteral("selected-light"));
        }
    }
};

QTEST_MAIN(LogConsoleLookTest)
#include "LogConsoleLookTest.moc"

#include "ProcessFacts.h"
#include "Waiting.h"
#include "WindowStateFile.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace ferrolt;

class WindowStateFileTest : public QObject {
    Q_OBJECT

    QTemporaryDir folder;
    int files = 0;

    QString newPath() { return folder.filePath(QString::number(++files)) + "/window.json"; }

    static WindowState wide(int width) {
        WindowState state;
        state.size = QSize(width, 640);
        return state;
    }
    static int savedWidth(const QString &path) { return WindowState::load(path).size.width(); }

  private Q_SLOTS:
    void whatIsSavedSoonComes() {
        const QString path = newPath();
        WindowStateFile file(path);
        file.saveSoon(wide(1234));
        QVERIFY(waitUntil([&] { return savedWidth(path) == 1234; }));
        QCOMPARE(file.load().size, QSize(1234, 640));
    }

    void whatIsSavedNowIsThere() {
        const QString path = newPath();
        WindowStateFile file(path);
        file.saveNow(wide(1234));
        QCOMPARE(savedWidth(path), 1234);
    }

    void anOlderStateNeverReplacesANewerOne() {
        const QString path = newPath();
        WindowStateFile file(path);
        const int threads = threadsNamed("");
        for (int width = 1000; width < 1100; width += 2) {
            file.saveSoon(wide(width));
            file.saveNow(wide(width + 1));
            QCOMPARE(savedWidth(path), width + 1);
            QVERIFY(waitUntil([&] { return threadsNamed("") == threads; }));
            QCOMPARE(savedWidth(path), width + 1);
        }
    }

    void theEndOfTheFileLeavesNothingUnsaved() {
        for (int round = 0; round < 20; ++round) {
            const QString path = newPath();
            auto file = std::make_unique<WindowStateFile>(path);
            file->saveSoon(wide(1100));
            file->saveSoon(wide(1200));
            file.reset();
            QCOMPARE(savedWidth(path), 1200);
        }
    }
};

QTEST_GUILESS_MAIN(WindowStateFileTest)
#include "WindowStateFileTest.moc"

#include "WindowState.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace ferrolt;

class WindowStateTest : public QObject {
    Q_OBJECT

    QTemporaryDir folder;

    WindowState read(const QByteArray &contents) {
        const QString path = folder.filePath("given.ini");
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            qFatal("no file to write to");
        file.write(contents);
        file.close();
        return WindowState::load(path);
    }

  private Q_SLOTS:
    void whatWasSavedComesBack() {
        const QString file = folder.filePath("not/yet/there/window.ini");
        WindowState state;
        state.size = QSize(1234, 777);
        state.isMaximized = true;
        state.sidebarWidth = 231;
        state.upperLogShare = 0.375;
        state.save(file);
        const WindowState back = WindowState::load(file);
        QCOMPARE(back.size, state.size);
        QCOMPARE(back.isMaximized, true);
        QCOMPARE(back.sidebarWidth, 231);
        QCOMPARE(back.upperLogShare, 0.375);
    }

    void aMissingFileGivesTheInitialValues() {
        const WindowState state = WindowState::load(folder.filePath("missing.ini"));
        QCOMPARE(state.size, QSize(1000, 640));
        QCOMPARE(state.isMaximized, false);
        QCOMPARE(state.sidebarWidth, 200);
        QCOMPARE(state.upperLogShare, 0.5);
    }

    void valuesThatMakeNoSenseGiveTheInitialOnes() {
        for (const QByteArray &contents :
             {QByteArray("[window]\nwidth=-5\nheight=99999999999999\nsidebarWidth=wide\nupperLogShare=nan\n"),
              QByteArray("[window]\nwidth=0\nheight=\nsidebarWidth=1e9\nupperLogShare=17\n"),
              QByteArray("\0\1\2 no ini at all [[[", 22), QByteArray()}) {
            const WindowState state = read(contents);
            QCOMPARE(state.size, QSize(1000, 640));
            QCOMPARE(state.sidebarWidth, 200);
            QCOMPARE(state.upperLogShare, 0.5);
        }
    }

    void aFolderInPlaceOfTheFileDoesNoHarm() {
        const QString path = folder.filePath("folder.ini");
        QVERIFY(QDir().mkpath(path + "/below"));
        WindowState().save(path);
        QCOMPARE(WindowState::load(path).size, QSize(1000, 640));
        QVERIFY(QDir(path + "/below").exists());
    }
};

QTEST_GUILESS_MAIN(WindowStateTest)
#include "WindowStateTest.moc"

#include "TestProgram.h"
#include "WindowState.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace ferrolt;

class WindowStateTest : public QObject {
    Q_OBJECT

    QTemporaryDir folder;

    WindowState read(const QByteArray &contents) {
        const QString path = folder.filePath("given.json");
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            qFatal("no file to write to");
        file.write(contents);
        file.close();
        return WindowState::load(path);
    }

  private Q_SLOTS:
    void whatWasSavedComesBack() {
        const QString file = folder.filePath("not/yet/there/window.json");
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
        const WindowState state = WindowState::load(folder.filePath("missing.json"));
        QCOMPARE(state.size, QSize(1000, 640));
        QCOMPARE(state.isMaximized, false);
        QCOMPARE(state.sidebarWidth, 200);
        QCOMPARE(state.upperLogShare, 0.5);
    }

    void valuesThatMakeNoSenseGiveTheInitialOnes() {
        for (const QByteArray &contents :
             {QByteArray(
                  R"({"width":-5,"height":99999999999999,"sidebarWidth":"wide","upperLogShare":null})"),
              QByteArray(R"({"width":0,"height":1.5e300,"sidebarWidth":1e9,"upperLogShare":17})"),
              QByteArray(R"({"width":1.5,"height":[640],"sidebarWidth":{},"upperLogShare":0})"),
              QByteArray(R"([{"width":700}])"), QByteArray(R"({"width":700)"),
              QByteArray("width=@Variant(\0\0\0\x7f\0\0\0\xff)\n"),
              QByteArray("\0\1\2 nothing at all [[[", 23), QByteArray()}) {
            const WindowState state = read(contents);
            QCOMPARE(state.size, QSize(1000, 640));
            QCOMPARE(state.sidebarWidth, 200);
            QCOMPARE(state.upperLogShare, 0.5);
        }
    }

    void aFileThatIsTooLargeToBeOursIsLeftUnread() {
        const QByteArray entry = R"({"width":700)";
        QCOMPARE(read(entry + '}').size.width(), 700);
        QCOMPARE(read(entry + QByteArray(1024 * 1024, ' ') + '}').size.width(), 1000);
    }

    void aPipeInPlaceOfTheFileHoldsNothingUp() {
        const QString path = folder.filePath("pipe.json");
        QCOMPARE(mkfifo(qPrintable(path), 0600), 0);
        QCOMPARE(WindowState::load(path).size, QSize(1000, 640));
    }

    void aFolderInPlaceOfTheFileDoesNoHarm() {
        const QString path = folder.filePath("folder.json");
        QVERIFY(QDir().mkpath(path + "/below"));
        WindowState().save(path);
        QCOMPARE(WindowState::load(path).size, QSize(1000, 640));
        QVERIFY(QDir(path + "/below").exists());
    }
};

TEST_CLASS(WindowStateTest, QCoreApplication)
#include "WindowStateTest.moc"

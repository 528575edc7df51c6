#include "ConsoleActions.h"
#include "ConsoleFixture.h"
#include "LogSaver.h"
#include "TestProgram.h"
#include "Waiting.h"

#include <QAction>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace ferrolt;

class LogSaverTest : public QObject {
    Q_OBJECT

    struct Saving : ConsoleFixture {
        QTemporaryDir folder;
        QSignalSpy saved{view.findChild<LogSaver *>(), &LogSaver::saved};

        Saving() { show(); }
        QString path(const QString &name) const { return folder.filePath(name); }
        QList<QFileDialog *> dialogs() const { return view.findChildren<QFileDialog *>(); }
        void ask() {
            actions.refresh();
            actions.saveLog->trigger();
        }
        void answer(const QString &file) const {
            QFileDialog *const dialog = dialogs().constFirst();
            dialog->findChild<QLineEdit *>()->setText(file);
            QMetaObject::invokeMethod(dialog, "accept");
        }
        QMessageBox *failure() const { return view.findChild<QMessageBox *>(); }
    };

    static QByteArray read(const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
    }

  private Q_SLOTS:
    void theLogIsWrittenAsTheCopyButtonCopiesIt() {
        Saving saving;
        saving.appendAndWait("no line break, ");
        saving.appendAndWait("Grüße\n");
        saving.ask();
        QCOMPARE(saving.dialogs().size(), 1);
        saving.appendAndWait("while the question was open\n");
        saving.answer(saving.path("a.log"));
        QVERIFY(waitUntil([&] { return saving.saved.size() == 1; }));
        QCOMPARE(saving.saved.first().first().toString(), saving.path("a.log"));
        saving.copyButton().click();
        QCOMPARE(read(saving.path("a.log")), saving.clipboard.text);
        QCOMPARE(read(saving.path("a.log")), "no line break, Grüße\nwhile the question was open\n");
        QVERIFY(saving.failure() == nullptr);
        QVERIFY(waitUntil([&] { return saving.dialogs().isEmpty(); }));
    }

    void aFullLogIsWrittenWhole() {
        Saving saving;
        const QByteArray element = QByteArray("0123456789abcde\n").repeated(4096);
        for (int i = 0; i < 999; ++i)
            saving.log.append(element);
        saving.appendAndWait("the end\n");
        saving.ask();
        saving.answer(saving.path("full.log"));
        QVERIFY(waitUntil([&] { return saving.saved.size() == 1; }));
        QVERIFY(read(saving.path("full.log")) == element.repeated(999) + "the end\n");
    }

    void aFileIsWrittenWholeThoughTheWindowGoesMeanwhile() {
        const QTemporaryDir folder;
        const QByteArray element = QByteArray("0123456789abcde\n").repeated(4096);
        {
            Saving saving;
            for (int i = 0; i < 999; ++i)
                saving.log.append(element);
            saving.appendAndWait("the end\n");
            saving.ask();
            saving.answer(folder.filePath("full.log"));
        }
        QVERIFY(read(folder.filePath("full.log")) == element.repeated(999) + "the end\n");
    }

    void anAnswerThatIsGivenTwiceWritesTheFileOnce() {
        Saving saving;
        saving.appendAndWait("one\n");
        saving.ask();
        QFileDialog *const dialog = saving.dialogs().constFirst();
        Q_EMIT dialog->fileSelected(saving.path("a.log"));
        Q_EMIT dialog->fileSelected(saving.path("b.log"));
        QVERIFY(waitUntil([&] { return saving.saved.size() == 1; }));
        QTest::qWait(100);
        QCOMPARE(saving.saved.size(), 1);
        QVERIFY(!QFile::exists(saving.path("b.log")));
    }

    void itProposesTheLogsTitleInTheDocumentsFolder() {
        Saving saving;
        saving.appendAndWait("one\n");
        saving.ask();
        const QFileDialog *const dialog = saving.dialogs().constFirst();
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        const QString folder = QDir(documents).exists() ? documents : QDir::homePath();
        QCOMPARE(dialog->selectedFiles(), QStringList(folder + "/Lumora Core Engine.log"));
        QCOMPARE(dialog->defaultSuffix(), QString("log"));
        QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
        QCOMPARE(dialog->windowModality(), Qt::WindowModal);
    }

    void askingTwiceOpensOneDialog() {
        Saving saving;
        saving.appendAndWait("one\n");
        saving.ask();
        saving.ask();
        QCOMPARE(saving.dialogs().size(), 1);
        saving.dialogs().constFirst()->reject();
        QVERIFY(waitUntil([&] { return saving.dialogs().isEmpty(); }));
        QVERIFY(saving.saved.isEmpty());
        saving.ask();
        QCOMPARE(saving.dialogs().size(), 1);
    }

    void whyItFailedIsSaidInOneSentence_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        QTest::newRow("a folder") << "folder"
                                  << "a folder has that name";
        QTest::newRow("a pipe") << "pipe"
                                << "what has that name is no ordinary file";
        QTest::newRow("a folder that went away") << "gone/a.log"
                                                 << "that folder does not exist";
    }
    void whyItFailedIsSaidInOneSentence() {
        QFETCH(QString, name);
        QFETCH(QString, reason);
        Saving saving;
        QVERIFY(QDir(saving.folder.path()).mkdir("folder"));
        QCOMPARE(::mkfifo(qPrintable(saving.path("pipe")), 0600), 0);
        saving.appendAndWait("one\n");
        saving.ask();
        // As if it had come while the dialog was open; the dialog itself would not choose a folder.
        Q_EMIT saving.dialogs().constFirst()->fileSelected(saving.path(name));
        QVERIFY(waitUntil([&] { return saving.failure() != nullptr && saving.failure()->isVisible(); }));
        QCOMPARE(saving.failure()->text(),
                 QString::fromUtf8("The log could not be saved as “%1”: %2.").arg(saving.path(name), reason));
        QCOMPARE(QDir(saving.folder.path())
                     .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
                 (QStringList{"folder", "pipe"}));
        saving.failure()->button(QMessageBox::Ok)->click();
        QVERIFY(waitUntil([&] { return saving.failure() == nullptr; }));
    }
};

TEST_CLASS(LogSaverTest, QApplication)
#include "LogSaverTest.moc"

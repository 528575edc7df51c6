#include "Announcement.h"
#include "ConsoleFixture.h"
#include "CpuTime.h"
#include "LogText.h"
#include "StatusBadge.h"
#include "TestProgram.h"
#include "ToldToScreenReaders.h"
#include "Utf16.h"
#include "Utf16Index.h"

#include <QAccessible>
#include <QSignalSpy>
#include <QTest>

using namespace ferrolt;
using namespace std::chrono_literals;

namespace {

/// Records what is reported to assistive technology.
QList<QAccessible::Event> told;
QString insertedText;
int insertedAt = -1;

void listen(QAccessibleEvent *event) {
    told.append(event->type());
    if (event->type() == QAccessible::TextInserted) {
        insertedText = static_cast<QAccessibleTextInsertEvent *>(event)->textInserted();
        insertedAt = static_cast<QAccessibleTextInsertEvent *>(event)->changePosition();
    }
}

}  // namespace

class LogAccessibleTest : public QObject {
    Q_OBJECT

    static QAccessibleInterface &interfaceOf(QWidget &widget) {
        return *QAccessible::queryAccessibleInterface(&widget);
    }
    static QAccessibleTextInterface &textOf(ConsoleFixture &console) {
        return *interfaceOf(console.area()).textInterface();
    }

  private Q_SLOTS:
    void initTestCase() {
        QAccessible::setActive(true);
        if (qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"))
            QTRY_VERIFY(QAccessible::isActive());
    }
    void cleanupTestCase() { QAccessible::setActive(false); }

    void theTextAreaIsATextNamedByItsTitle() {
        ConsoleFixture console;
        console.append("Lumora Core started.\n");
        console.append("ready \xf0\x9f\x98\x80 \xe6\xbc\xa2\n");
        console.show();
        QAccessibleInterface &area = interfaceOf(console.area());
        QCOMPARE(area.role(), QAccessible::EditableText);
        QCOMPARE(area.text(QAccessible::Name), QStringLiteral("Lumora Core Engine"));
        QVERIFY(area.state().readOnly);
        QVERIFY(area.state().multiLine);
        QVERIFY(area.state().focusable);
        QCOMPARE(area.childCount(), 0);
        const QString whole = QString::fromUtf8("Lumora Core started.\nready 😀 漢\n");
        QAccessibleTextInterface &text = textOf(console);
        QCOMPARE(text.characterCount(), whole.size());
        QCOMPARE(text.text(0, text.characterCount()), whole);
        QCOMPARE(text.text(7, 11), QStringLiteral("Core"));
        QCOMPARE(text.text(27, 29), QString::fromUtf8("😀"));
    }

    void aByteOrderMarkAtTheStartIsReadAndCounted() {
        ConsoleFixture console;
        console.append("\xef\xbb\xbfready\n");
        console.show();
        QAccessibleTextInterface &text = textOf(console);
        QCOMPARE(text.characterCount(), 7);
        QCOMPARE(text.text(0, 7), QString(QChar(0xFEFF)) + "ready\n");
        QCOMPARE(text.text(1, 6), QStringLiteral("ready"));
    }

    void thePartsAreNamed() {
        ConsoleFixture console;
        console.show();
        QCOMPARE(interfaceOf(console.copyButton()).text(QAccessible::Name),
                 QStringLiteral("Copy this log to the clipboard"));
        QCOMPARE(interfaceOf(console.copyButton()).role(), QAccessible::Button);
        QWidget &badge = *console.view.findChild<StatusBadge *>();
        QCOMPARE(interfaceOf(badge).text(QAccessible::Name), QStringLiteral("Stopped"));
        QCOMPARE(interfaceOf(badge).role(), QAccessible::StaticText);
        console.view.setRunning(true);
        QCOMPARE(interfaceOf(badge).text(QAccessible::Name), QStringLiteral("Running"));
    }

    void theCopyButtonIsPressedAsAScreenReaderDoes() {
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        interfaceOf(console.copyButton())
            .actionInterface()
            ->doAction(QAccessibleActionInterface::pressAction());
        QTRY_COMPARE(console.clipboard.text, "text\n");
    }

    void aCopyIsAnnouncedOnce() {
        if (!QAccessible::isActive())
            QSKIP("This platform has no screen readers.");
        ConsoleFixture console;
        console.append("text\n");
        console.show();
        const auto labels = console.view.findChildren<Announcement *>();
        QCOMPARE(labels.size(), 1);
        Announcement *const label = labels.front();
        const ToldToScreenReaders heard;
        QTest::mouseClick(&console.copyButton(), Qt::LeftButton);
        QCOMPARE(interfaceOf(*label).text(QAccessible::Name), QStringLiteral("Log copied"));
        QCOMPARE(heard.events(label, QAccessible::Alert).size(), 1);
        QCOMPARE(heard.events(label, QAccessible::ObjectShow).size(), 1);
        QVERIFY2(label->size().isEmpty(), "the check mark says it to the eye");
        // Later nothing of it is left to read, and the next copy is announced again.
        console.time.advance(1200ms);
        QTRY_COMPARE(label->text(), QString());
        QCOMPARE(heard.events(label, QAccessible::Alert).size(), 1);
        QTest::mouseClick(&console.copyButton(), Qt::LeftButton);
        QCOMPARE(heard.events(label, QAccessible::Alert).size(), 2);
    }

    void charactersWordsAndLinesAreRead() {
        ConsoleFixture console;
        console.append("one two\nthree");
        console.append("four\n");
        console.show();
        QAccessibleTextInterface &text = textOf(console);
        int start = 0;
        int end = 0;
        QCOMPARE(text.textAtOffset(4, QAccessible::WordBoundary, &start, &end), QStringLiteral("two"));
        QCOMPARE(start, 4);
        QCOMPARE(end, 7);
        QCOMPARE(text.textAtOffset(4, QAccessible::CharBoundary, &start, &end), QStringLiteral("t"));
        QCOMPARE(text.textAtOffset(9, QAccessible::LineBoundary, &start, &end), QStringLiteral("three"));
        QCOMPARE(start, 8);
        QCOMPARE(text.textAfterOffset(9, QAccessible::LineBoundary, &start, &end), QStringLiteral("four\n"));
        QCOMPARE(start, 13);
        QCOMPARE(text.textBeforeOffset(9, QAccessible::LineBoundary, &start, &end),
                 QStringLiteral("one two\n"));
        QCOMPARE(text.textAfterOffset(15, QAccessible::LineBoundary, &start, &end), QString());
        QCOMPARE(text.textBeforeOffset(3, QAccessible::LineBoundary, &start, &end), QString());
    }

    void placesOnScreenAndInTheTextCorrespond() {
        ConsoleFixture console;
        console.append("0123456789\n");
        console.append("abcdefghij\n");
        console.show();
        QAccessibleTextInterface &text = textOf(console);
        for (const int offset : {0, 5, 11, 15}) {
            const QRect box = text.characterRect(offset);
            QVERIFY(box.isValid());
            QCOMPARE(text.offsetAtPoint(box.center() - QPoint(2, 0)), offset);
        }
    }

    void theCaretAndTheSelectionAreSharedWithTheView() {
        ConsoleFixture console;
        console.append("0123456789\n");
        console.append("abcdefghij\n");
        console.show();
        QAccessibleTextInterface &text = textOf(console);
        text.setCursorPosition(13);
        QCOMPARE(text.cursorPosition(), 13);
        QCOMPARE(text.selectionCount(), 0);
        text.setSelection(0, 8, 14);
        int start = 0;
        int end = 0;
        text.selection(0, &start, &end);
        QCOMPARE(start, 8);
        QCOMPARE(end, 14);
        QTest::keyClick(&console.area(), Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(console.clipboard.text, "89\nabc");
        text.removeSelection(0);
        QCOMPARE(text.selectionCount(), 0);
    }

    void anEmptyLogIsAnEmptyText() {
        ConsoleFixture console;
        console.show();
        QAccessibleTextInterface &text = textOf(console);
        int start = 0;
        int end = 0;
        QCOMPARE(text.characterCount(), 0);
        QCOMPARE(text.text(0, 10), QString());
        QCOMPARE(text.textAtOffset(0, QAccessible::LineBoundary, &start, &end), QString());
        text.setCursorPosition(3);
        text.setSelection(0, 0, 3);
        QCOMPARE(text.cursorPosition(), 0);
        QCOMPARE(text.offsetAtPoint(console.area().mapToGlobal(QPoint(50, 50))), -1);
    }

    void whatIsAppendedIsAnnounced() {
        if (!QAccessible::isActive())
            QSKIP("This platform has no screen readers.");
        ConsoleFixture console;
        console.append("first\n");
        console.show();
        told.clear();
        const auto before = QAccessible::installUpdateHandler(listen);
        console.append("second\n");
        QTRY_VERIFY(told.contains(QAccessible::TextInserted));
        QCOMPARE(insertedText, QStringLiteral("second\n"));
        QCOMPARE(insertedAt, 6);
        told.clear();
        QTest::keyClick(&console.area(), Qt::Key_Right);
        QVERIFY(told.contains(QAccessible::TextCaretMoved));
        QTest::keyClick(&console.area(), Qt::Key_Right, Qt::ShiftModifier);
        QVERIFY(told.contains(QAccessible::TextSelectionChanged));
        // A flood is not read out.
        told.clear();
        for (int i = 0; i < 100; ++i)
            console.append(QByteArray(65536, 'x'));
        QTRY_VERIFY(told.contains(QAccessible::VisibleDataChanged));
        QVERIFY(!told.contains(QAccessible::TextInserted));
        QAccessible::installUpdateHandler(before);
    }

    /// With the log full, every append also drops text at the top, which changes all offsets.
    void whatDropsOffIsAnnouncedBeforeWhatIsAppended() {
        if (!QAccessible::isActive())
            QSKIP("This platform has no screen readers.");
        ConsoleFixture console;
        console.append(
            "\xef\xbb\xbf"
            "first \xf0\x9f\x98\x80\n");
        for (int i = 1; i < 1000; ++i)
            console.append("more\n");
        console.show();
        const int before = textOf(console).characterCount();
        textOf(console).setCursorPosition(30);
        const ToldToScreenReaders heard;
        console.append("last\n");
        QTRY_VERIFY(!heard.events(&console.area(), QAccessible::TextInserted).isEmpty());
        QList<QAccessible::Event> order;
        for (const auto &event : heard.events()) {
            if (event.object == &console.area())
                order.append(event.kind);
        }
        QCOMPARE(order, (QList<QAccessible::Event>{QAccessible::TextRemoved, QAccessible::TextCaretMoved,
                                                   QAccessible::TextInserted}));
        const auto removed = heard.events(&console.area(), QAccessible::TextRemoved).first();
        QCOMPARE(removed.place, 0);
        QCOMPARE(removed.text.size(), 10);
        QVERIFY(removed.text.endsWith(QString::fromUtf8("first \xf0\x9f\x98\x80\n")));
        QCOMPARE(heard.events(&console.area(), QAccessible::TextCaretMoved).first().place, 20);
        const auto inserted = heard.events(&console.area(), QAccessible::TextInserted).first();
        QCOMPARE(inserted.place, before - 10);
        QCOMPARE(inserted.text, QString("last\n"));
    }

    /// More than a user would listen to is reported without its text.
    void aFloodThatDropsOffIsNotReadOut() {
        if (!QAccessible::isActive())
            QSKIP("This platform has no screen readers.");
        ConsoleFixture console;
        for (int i = 0; i < 1000; ++i)
            console.append(QByteArray(i < 10 ? 65536 : 1, 'x'));
        console.show();
        const ToldToScreenReaders heard;
        console.append("last\n");
        QTRY_VERIFY(!heard.events(&console.area(), QAccessible::TextInserted).isEmpty());
        QVERIFY(heard.events(&console.area(), QAccessible::TextRemoved).isEmpty());
        QCOMPARE(heard.events(&console.area(), QAccessible::VisibleDataChanged).size(), 1);
    }

    void unitsAndPlacesCorrespond() {
        LogBuffer log;
        log.append("a\xc3\xa9\xe6\xbc\xa2\xf0\x9f\x98\x80z");
        log.append("second");
        Utf16Index index(log);
        QCOMPARE(index.size(), 6 + 6);
        const int units[] = {0, 1, 2, 3, 5, 6};
        const std::uint32_t bytes[] = {0, 1, 3, 6, 10, 11};
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(index.positionAt(units[i]), (LogPosition{0, ByteOffset{bytes[i]}}));
            QCOMPARE(index.unitsBefore({0, ByteOffset{bytes[i]}}), units[i]);
        }
        QCOMPARE(index.positionAt(4), (LogPosition{0, ByteOffset{6}}));
        QCOMPARE(index.positionAt(6), (LogPosition{1, ByteOffset{0}}));
        QCOMPARE(index.positionAt(100), (LogPosition{1, ByteOffset{6}}));
        log.takeFirst();
        QCOMPARE(index.size(), 6);
        QCOMPARE(index.unitsBefore({1, ByteOffset{2}}), 2);
        QCOMPARE(Utf16Index::unitsIn(
                     QByteArray(QByteArray(1000, 'x') + QByteArray("\xf0\x9f\x98\x80").repeated(100))),
                 1200);
    }

    void aFullLogIsCountedInAMoment() {
        ConsoleFixture console;
        for (int i = 0; i < 1000; ++i)
            console.log.append(QByteArray(65536, 'x'));
        console.show();
        // What Qt's own implementation would do for each question.
        CpuTime clock;
        QByteArray whole;
        for (const QByteArray &piece : console.log.snapshot())
            whole += piece;
        QCOMPARE(utf16Of(whole).size(), 65536 * 1000);
        const qint64 conversion = clock.nanoseconds();

        // A screen reader asks a lot. A sanitizer slows down the program's own code alone, and not the
        // conversion, which is Qt's.
        clock.start();
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(textOf(console).characterCount(), 65536 * 1000);
        const qint64 counts = clock.nanoseconds();
        QVERIFY2(FERROLT_SANITIZED || counts < conversion,
                 qPrintable(QString("%1 ms for 1000 counts, %2 ms for one conversion")
                                .arg(counts / 1'000'000)
                                .arg(conversion / 1'000'000)));
        clock.start();
        for (int i = 0; i < 100; ++i) {
            const int place = 30'000'000 + 1000 * i;
            int start = 0;
            int end = 0;
            textOf(console).textAtOffset(place, QAccessible::LineBoundary, &start, &end);
            QVERIFY(start <= place && end > place);
        }
        const qint64 lines = clock.nanoseconds();
        QVERIFY2(FERROLT_SANITIZED || lines < 10 * conversion,
                 qPrintable(QString("%1 ms for 100 lines, %2 ms for one conversion")
                                .arg(lines / 1'000'000)
                                .arg(conversion / 1'000'000)));
    }
};

TEST_CLASS(LogAccessibleTest, QApplication)
#include "LogAccessibleTest.moc"

#include "ClientHome.h"
#include "FileDescriptor.h"
#include "InChild.h"
#include "TestProgram.h"
#include "TextFile.h"

#include <QElapsedTimer>
#include <QTest>

#include <cstring>
#include <filesystem>
#include <optional>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace ferrolt {

namespace fs = std::filesystem;
using State = TextFile::State;

class TextFileTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() { home.emplace(); }
    void cleanup() { home.reset(); }

    void aTextReadsAsUtf8WithoutItsByteOrderMark_data();
    void aTextReadsAsUtf8WithoutItsByteOrderMark();
    void anIllFormedTextIsUnreadable_data();
    void anIllFormedTextIsUnreadable();
    void aMissingFileIsAbsent();
    void aLinkToNowhereIsAbsent();
    void aLinkToItselfIsUnreadable();
    void aFolderIsUnreadable();
    void aNamedPipeIsUnreadableAndNobodyWaits();
    void aSocketIsUnreadable();
    void aDeviceIsUnreadable_data();
    void aDeviceIsUnreadable();
    void aFileThatFailsWhileItIsReadIsUnreadable();
    void aFileWithoutPermissionIsUnreadable();
    void aFileThatDoesNotTellItsSizeIsReadWhole();
    void aFileBeyondTheBoundIsUnreadableAtOnce();
    void fiftyMegabytesAreReadWhole();

  private:
    fs::path file() const { return home->path() / "file"; }

    std::optional<ClientHome> home;
};

void TextFileTest::aTextReadsAsUtf8WithoutItsByteOrderMark_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char *name, const QByteArray &bytes, const QByteArray &text) {
        QTest::newRow(name) << bytes << text;
    };
    row("empty", "", "");
    row("ASCII", "a = b\n", "a = b\n");
    row("UTF-8", "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80");
    row("UTF-8 with a mark",
        "\xEF\xBB\xBF"
        "a",
        "a");
    row("a mark alone", "\xEF\xBB\xBF", "");
    row("only the first mark is encoding",
        "\xEF\xBB\xBF\xEF\xBB\xBF"
        "a",
        "\xEF\xBB\xBF"
        "a");
    row("NUL in UTF-8", QByteArrayLiteral("a\0b"), QByteArrayLiteral("a\0b"));
    row("the last character of all and characters that are none", "\xF4\x8F\xBF\xBF\xEF\xBF\xBE",
        "\xF4\x8F\xBF\xBF\xEF\xBF\xBE");
    row("UTF-16, little-endian",
        QByteArrayLiteral("\xFF\xFE"
                          "a\0\xAC\x20\x3D\xD8\x00\xDE"),
        "a\xE2\x82\xAC\xF0\x9F\x98\x80");
    row("UTF-16, big-endian", QByteArrayLiteral("\xFE\xFF\0a\x20\xAC\xD8\x3D\xDE\x00"),
        "a\xE2\x82\xAC\xF0\x9F\x98\x80");
    row("UTF-16 with two marks",
        QByteArrayLiteral("\xFF\xFE\xFF\xFE"
                          "a\0"),
        "\xEF\xBB\xBF"
        "a");
    row("UTF-16, a mark alone", "\xFE\xFF", "");
    row("NUL in UTF-16", QByteArrayLiteral("\xFE\xFF\0a\0\0\0b"), QByteArrayLiteral("a\0b"));
}

void TextFileTest::aTextReadsAsUtf8WithoutItsByteOrderMark() {
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, text);
    ClientHome::write(file(), bytes);
    const TextFile read = TextFile::read(file());
    QCOMPARE(read.state, State::Read);
    QCOMPARE(QByteArray::fromStdString(read.text), text);
}

void TextFileTest::anIllFormedTextIsUnreadable_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("Latin-1") << QByteArray("M\xFCller\n");
    QTest::newRow("a character cut short at the end") << QByteArray("a\xE2\x82");
    QTest::newRow("a continuation byte alone") << QByteArray(
        "a\x80"
        "b");
    QTest::newRow("an overlong form") << QByteArray("a\xC0\xAF");
    QTest::newRow("a surrogate in UTF-8") << QByteArray("a\xED\xA0\x80");
    QTest::newRow("beyond the last character") << QByteArray("a\xF4\x90\x80\x80");
    QTest::newRow("a bad byte after a long good text") << QByteArray(100'000, 'a') + '\xFF';
    QTest::newRow("UTF-16 without a mark") << QByteArrayLiteral("\0a\0\xE9");
    QTest::newRow("UTF-16 with half a unit") << QByteArray(
        "\xFF\xFE"
        "a\0b",
        5);
    QTest::newRow("UTF-16, a high surrogate alone") << QByteArray(
        "\xFF\xFE\x3D\xD8"
        "a\0",
        6);
    QTest::newRow("UTF-16, a high surrogate at the end") << QByteArrayLiteral("\xFE\xFF\xD8\x3D");
    QTest::newRow("UTF-16, a low surrogate alone") << QByteArrayLiteral("\xFE\xFF\xDE\x00\0a");
    QTest::newRow("UTF-32, little-endian") << QByteArrayLiteral("\xFF\xFE\0\0a\0\0\0");
    QTest::newRow("UTF-32, big-endian") << QByteArrayLiteral("\0\0\xFE\xFF\0\0\0a");
    QTest::newRow("half a UTF-16 mark") << QByteArray("\xFF");
    QTest::newRow("two thirds of a UTF-8 mark") << QByteArray("\xEF\xBB");
}

void TextFileTest::anIllFormedTextIsUnreadable() {
    QFETCH(QByteArray, bytes);
    ClientHome::write(file(), bytes);
    const TextFile read = TextFile::read(file());
    QCOMPARE(read.state, State::Unreadable);
    QVERIFY(read.text.empty());
}

void TextFileTest::aMissingFileIsAbsent() {
    QCOMPARE(TextFile::read(file()).state, State::Absent);
    QCOMPARE(TextFile::read(home->path() / "no folder" / "file").state, State::Absent);
}

void TextFileTest::aLinkToNowhereIsAbsent() {
    fs::create_symlink("nowhere", file());
    QCOMPARE(TextFile::read(file()).state, State::Absent);
}

void TextFileTest::aLinkToItselfIsUnreadable() {
    fs::create_symlink("file", file());
    QCOMPARE(TextFile::read(file()).state, State::Unreadable);
}

void TextFileTest::aFolderIsUnreadable() {
    fs::create_directory(file());
    QCOMPARE(TextFile::read(file()).state, State::Unreadable);
}

void TextFileTest::aNamedPipeIsUnreadableAndNobodyWaits() {
    QCOMPARE(::mkfifo(file().c_str(), 0600), 0);
    // In a child that is ended after a minute, because a blocking open() would never return.
    QCOMPARE(inChild([&] { return TextFile::read(file()).state == State::Unreadable ? 0 : 1; }), 0);
    fs::create_symlink("file", home->path() / "link");
    QCOMPARE(
        inChild([&] { return TextFile::read(home->path() / "link").state == State::Unreadable ? 0 : 1; }), 0);
}

void TextFileTest::aSocketIsUnreadable() {
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    QVERIFY(file().native().size() < sizeof address.sun_path);
    std::strcpy(address.sun_path, file().c_str());
    QCOMPARE(::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    QCOMPARE(TextFile::read(file()).state, State::Unreadable);
}

void TextFileTest::aDeviceIsUnreadable_data() {
    QTest::addColumn<QString>("device");
    QTest::newRow("empty") << QStringLiteral("/dev/null");
    QTest::newRow("endless") << QStringLiteral("/dev/zero");
    QTest::newRow("terminal") << QStringLiteral("/dev/tty");
}

void TextFileTest::aDeviceIsUnreadable() {
    QFETCH(QString, device);
    fs::create_symlink(device.toStdString(), file());
    QCOMPARE(TextFile::read(file()).state, State::Unreadable);
}

void TextFileTest::aFileThatFailsWhileItIsReadIsUnreadable() {
    // A regular file that can be opened but not read, even by root.
    const fs::path failing = "/proc/self/mem";
    if (!fs::exists(failing))
        QSKIP("This system has no file that fails on reading.");
    fs::create_symlink(failing, file());
    QCOMPARE(TextFile::read(file()).state, State::Unreadable);
}

void TextFileTest::aFileWithoutPermissionIsUnreadable() {
    ClientHome::write(file(), "a = b\n");
    fs::permissions(file(), fs::perms::none);
    const int code = inChild([&] {
        if (!obeyPermissions())
            return 2;
        return TextFile::read(file()).state == State::Unreadable ? 0 : 1;
    });
    QCOMPARE(code, 0);
}

void TextFileTest::aFileThatDoesNotTellItsSizeIsReadWhole() {
    const fs::path untold = "/proc/self/mountinfo";
    if (!fs::exists(untold) || fs::file_size(untold) != 0)
        QSKIP("This system has no file that does not tell its size.");
    const TextFile read = TextFile::read(untold);
    QCOMPARE(read.state, State::Read);
    QVERIFY(!read.text.empty());
    QCOMPARE(QByteArray::fromStdString(read.text), ClientHome::read(untold));
}

void TextFileTest::aFileBeyondTheBoundIsUnreadableAtOnce() {
    ClientHome::write(file(), "a = b\n");
    fs::resize_file(file(), TextFile::maxSize + 1);  // uses no disk space: it is one hole
    QCOMPARE(TextFile::read(file()).state, State::Unreadable);
}

void TextFileTest::fiftyMegabytesAreReadWhole() {
    const QByteArray bytes = QByteArray("some text in a line\n").repeated(2'500'000);
    ClientHome::write(file(), bytes);
    QElapsedTimer timer;
    timer.start();
    const TextFile read = TextFile::read(file());
    qInfo("%lld ms", timer.elapsed());
    QCOMPARE(read.state, State::Read);
    QVERIFY(QByteArray::fromStdString(read.text) == bytes);
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::TextFileTest, QCoreApplication)
#include "TextFileTest.moc"

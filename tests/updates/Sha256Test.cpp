#include "Background.h"
#include "Sha256.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QTest>

using namespace ferrolt;
namespace fs = std::filesystem;

class Sha256Test : public QObject {
    Q_OBJECT

  private:
    QTemporaryDir scratch;
    const fs::path folder = scratch.path().toStdString();

    static std::optional<QString> digestOf(const fs::path &path) {
        return inBackground([&] { return sha256OfFile(path); });
    }

  private Q_SLOTS:
    void theDigestIsSixtyFourLowerCaseDigits() {
        writeFile(folder / "abc", "abc");
        QCOMPARE(digestOf(folder / "abc"),
                 std::optional(
                     QStringLiteral("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad")));
    }

    void anEmptyFileHasADigestToo() {
        writeFile(folder / "empty", {});
        QCOMPARE(digestOf(folder / "empty"),
                 std::optional(
                     QStringLiteral("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855")));
    }

    void filesAroundTheReadSizeAreReadWhole_data() {
        QTest::addColumn<int>("size");
        for (const int size : {1'048'575, 1'048'576, 1'048'577, 3'145'728, 5'000'000})
            QTest::addRow("%d", size) << size;
    }
    void filesAroundTheReadSizeAreReadWhole() {
        QFETCH(int, size);
        QByteArray content(size, '\0');
        for (qsizetype i = 0; i < content.size(); ++i)
            content[i] = static_cast<char>(i * 31 + i / 257);
        writeFile(folder / "file", content);
        const QByteArray expected = QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
        QCOMPARE(digestOf(folder / "file"), std::optional(QString::fromLatin1(expected)));
    }

    void whatCannotBeReadHasNone() {
        QCOMPARE(digestOf(folder / "missing"), std::nullopt);
        QCOMPARE(digestOf(folder), std::nullopt);  // opens, but does not read
    }
};

TEST_CLASS(Sha256Test, QCoreApplication)
#include "Sha256Test.moc"

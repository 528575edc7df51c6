#include "ImageListing.h"
#include "TestProgram.h"

#include <QTest>

#include <string>

using namespace ferrolt;

namespace {

/// A listing of a volume with this type whose entries are these lines.
std::string listingOf(const std::string &volume, const std::string &entries) {
    return "Path = image.dmg\nType = Dmg\n--\nType = " + volume + "\n\n----------\n" + entries;
}

std::optional<std::vector<ImageEntry>> parse(const std::string &listing) {
    ImageListing parser;
    parser.feed(listing);
    return parser.take();
}

std::optional<std::vector<ImageEntry>> parseEntries(const std::string &entries) {
    return parse(listingOf("APFS", entries));
}

}  // namespace

class ImageListingTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void anEntryIsTakenAsItIsListed() {
        const auto entries = parseEntries(
            "Path = a/file\nFolder = -\nSize = 12\nMode = -rwxr-x---\n\n"
            "Path = a/link\nFolder = -\nSize = 3\nMode = lrwxr-xr-x\n\n"
            "Path = a\nFolder = +\nSize = 0\nMode = drwxr-xr-x\n\n");
        QVERIFY(entries);
        QCOMPARE(entries->size(), std::size_t(3));
        QCOMPARE(entries->at(0).path, std::string("a/file"));
        QCOMPARE(entries->at(0).size, std::uint64_t(12));
        QCOMPARE(entries->at(0).permissions, mode_t(0750));
        QVERIFY(entries->at(1).kind == ImageEntry::Kind::Link);
        QVERIFY(entries->at(2).kind == ImageEntry::Kind::Folder);
    }

    void specialModesAreTakenWithoutThem_data() {
        QTest::addColumn<std::string>("mode");
        QTest::addColumn<int>("permissions");
        QTest::newRow("set-user-id") << std::string("-rwsr-xr-x") << 0755;
        QTest::newRow("set-group-id") << std::string("-rwxr-sr-x") << 0755;
        QTest::newRow("sticky") << std::string("-rwxr-xr-t") << 0755;
        QTest::newRow("set-user-id alone") << std::string("-rwSr-xr-x") << 0655;
        QTest::newRow("sticky alone") << std::string("-rwxr-xr-T") << 0754;
    }
    void specialModesAreTakenWithoutThem() {
        QFETCH(std::string, mode);
        QFETCH(int, permissions);
        const auto entries = parseEntries("Path = file\nMode = " + mode + "\n\n");
        QVERIFY(entries);
        QCOMPARE(static_cast<int>(entries->at(0).permissions), permissions);
    }

    void withoutAModeTheUsualOneIsTaken_data() {
        QTest::addColumn<std::string>("lines");
        QTest::addColumn<bool>("isFolder");
        QTest::newRow("folder") << std::string("Folder = +") << true;
        QTest::newRow("file") << std::string("Folder = -") << false;
        QTest::newRow("neither") << std::string("Folder =") << false;
        QTest::newRow("zeroes, folder") << std::string("Folder = +\nMode = 0---------") << true;
        QTest::newRow("zeroes, file") << std::string("Folder = -\nMode = 0---------") << false;
        QTest::newRow("no size") << std::string("Folder = -\nSize =") << false;
    }
    void withoutAModeTheUsualOneIsTaken() {
        QFETCH(std::string, lines);
        QFETCH(bool, isFolder);
        const auto entries = parseEntries("Path = entry\n" + lines + "\n");
        QVERIFY(entries);
        QCOMPARE(entries->at(0).kind == ImageEntry::Kind::Folder, isFolder);
        QCOMPARE(static_cast<int>(entries->at(0).permissions), isFolder ? 0755 : 0644);
        QCOMPARE(entries->at(0).size, std::uint64_t(0));
    }

    void whatContradictsItselfOrIsNoFileIsRefused_data() {
        QTest::addColumn<std::string>("lines");
        QTest::newRow("folder by mode alone") << std::string("Folder = -\nMode = drwxr-xr-x");
        QTest::newRow("folder by name alone") << std::string("Folder = +\nMode = -rwxr-xr-x");
        QTest::newRow("device") << std::string("Folder = -\nMode = brw-r--r--");
        QTest::newRow("short mode") << std::string("Mode = -rwx");
        QTest::newRow("another bit") << std::string("Mode = -rwxr-zr-x");
        QTest::newRow("sticky where it cannot be") << std::string("Mode = -trxr-xr-x");
        QTest::newRow("no number") << std::string("Mode = -rwxr-xr-x\nSize = many");
        QTest::newRow("more than a number") << std::string("Mode = -rwxr-xr-x\nSize = 12 or so");
        QTest::newRow("below nothing") << std::string("Mode = -rwxr-xr-x\nSize = -1");
        QTest::newRow("beyond 64 bits") << std::string("Mode = -rwxr-xr-x\nSize = 18446744073709551616");
    }
    void whatContradictsItselfOrIsNoFileIsRefused() {
        QFETCH(std::string, lines);
        QVERIFY(!parseEntries("Path = entry\n" + lines + "\n\n"));
        QVERIFY(!parseEntries("Path = entry\n" + lines));  // and at the end, without an empty line
        QVERIFY(!parseEntries("Path = entry\n" + lines + "\nPath = other\nMode = -rwxr-xr-x\n\n"));
    }

    void aPathWithANulIsRefused() {
        using namespace std::string_literals;
        QVERIFY(!parseEntries("Path = a\0b\nMode = -rwxr-xr-x\n\n"s));
    }

    void anAlternateStreamIsNoEntryOfItsOwn() {
        const auto entries = parseEntries(
            "Path = file\nMode = -rw-r--r--\nAlternate Stream = -\n\n"
            "Path = file:stream\nMode = -rw-r--r--\nAlternate Stream = +\n\n");
        QVERIFY(entries);
        QCOMPARE(entries->size(), std::size_t(1));
    }

    void linesThatBelongToNoEntryAreNotRead() {
        const auto entries = parseEntries("Size = 12\n\nPathological = x\nPath: y\n\n");
        QVERIFY(entries);
        QVERIFY(entries->empty());
    }

    void aValueMayStandRightBehindTheEqualsSign() {
        const auto entries = parseEntries("Path =file\nMode = -rw-r--r--\n\n");
        QVERIFY(entries);
        QCOMPARE(entries->at(0).path, std::string("file"));
    }

    void moreEntriesThanAnApplicationHasAreRefused() {
        std::string lines;
        for (std::size_t i = 0; i <= ImageListing::maxEntries; ++i)
            lines += "Path = f\n\n";
        QVERIFY(!parseEntries(lines));
        lines.resize(lines.size() - 10);
        const auto most = parseEntries(lines);
        QVERIFY(most);
        QCOMPARE(most->size(), ImageListing::maxEntries);
    }

    /// An HFS+ volume keeps names decomposed; some characters never are, and stay as they are.
    void namesOfAnHfsVolumeAreComposedWhereTheyWereDecomposed_data() {
        QTest::addColumn<QString>("listed");
        QTest::addColumn<QString>("name");
        QTest::newRow("umlaut") << QStringLiteral("Mu\u0308ller") << QStringLiteral("M\u00FCller");
        QTest::newRow("ohm") << QStringLiteral("10 \u2126") << QStringLiteral("10 \u2126");
        QTest::newRow("compatibility ideograph") << QStringLiteral("\uF900") << QStringLiteral("\uF900");
        QTest::newRow("beyond these") << QStringLiteral("\uFB01\u0308") << QStringLiteral("\uFB01\u0308");
        QTest::newRow("surrogates") << QStringLiteral("\U0002F800u\u0308")
                                    << QStringLiteral("\U0002F800\u00FC");
    }
    void namesOfAnHfsVolumeAreComposedWhereTheyWereDecomposed() {
        QFETCH(QString, listed);
        QFETCH(QString, name);
        const auto entries = parse(listingOf("HFS", "Path = Volume\nFolder = +\n\nPath = Volume/" +
                                                        listed.toStdString() + "\nFolder = -\n\n"));
        QVERIFY(entries);
        QCOMPARE(QString::fromStdString(entries->at(0).path), name);
    }

    void aNameThatIsNotUtf8StaysAsItIs() {
        const auto entries =
            parse(listingOf("HFS", "Path = Volume\nFolder = +\n\nPath = Volume/M\xFCller\nFolder = -\n\n"));
        QVERIFY(entries);
        QCOMPARE(entries->at(0).path, std::string("M\xFCller"));
    }

    /// Composing takes some characters apart instead: U+0344 has two bytes, and what it becomes has four.
    void aNameThatIsTooLongOnceComposedIsRefused() {
        const auto listing = [](std::size_t characters) {
            std::string name;
            for (std::size_t i = 0; i < characters; ++i)
                name += "\u0344";
            return listingOf("HFS", "Path = V\nFolder = +\n\nPath = V/" + name + "\nFolder = -\n\n");
        };
        const auto longest = parse(listing(ImageListing::maxPathLength / 4));
        QVERIFY(longest);
        QCOMPARE(longest->at(0).path.size(), ImageListing::maxPathLength);
        QVERIFY(!parse(listing(ImageListing::maxPathLength / 4 + 1)));
    }

    void afterARefusalNothingIsTaken() {
        ImageListing parser;
        QVERIFY(!parser.feed(listingOf("APFS", "Path = ../out\n\n")));
        QVERIFY(!parser.feed("Path = file\n\n"));
        QVERIFY(!parser.take());
    }
};

TEST_CLASS(ImageListingTest, QCoreApplication)
#include "ImageListingTest.moc"

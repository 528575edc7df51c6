#include "ClientConfigurationTemplate.h"
#include "ClientHome.h"
#include "LoadProps.h"
#include "SaveProps.h"
#include "TestProgram.h"

#include <QElapsedTimer>
#include <QTest>

#include <filesystem>
#include <optional>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

const QByteArray emailLine = "MinerEmailAddress       = miner@example.org";
const QByteArray entityLine = "MinerEntityName         = Acme";
const QByteArray displayNameLine = "MinerDisplayName        = rig";

}  // namespace

class SavePropsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() { home.emplace(); }
    void cleanup() { home.reset(); }

    void withoutAFileASaveCreatesTheFolderAndTheFilledInTemplate();
    void emptyValuesAreWrittenAsTheBarePrefix();
    void anExistingEmptyFileGetsExactlyTheThreeLines();
    void aMissingKeyIsInsertedBeforeAFinalNewline();
    void aMissingKeyIsAppendedWhenThereIsNoFinalNewline();
    void missingKeysComeInTheirOrder();
    void aLineWithoutAnEqualsSignIsReplacedToo();
    void everyDuplicateIsRewritten();
    void aLongerKeyThatBeginsWithTheSameLettersIsReplaced();
    void indentedAndCommentedLinesStayAndANewLineIsAdded();
    void anEntryInLowerCaseIsLeftAlone();
    void aCrLfFileIsRewrittenWithLineFeedsAndAnEmptyLineAfterEach();
    void otherNewlineCharactersBecomeLineFeeds();
    void everyOtherLineStaysAsItIs();
    void aFileInUtf16IsRewrittenAsUtf8();
    void aByteOrderMarkIsNotWrittenAgain();
    void afterASecondByteOrderMarkThereIsNoEntry();
    void valuesAreWrittenUnchanged();
    void aNewlineInAValueMakesALineOfItsOwn();
    void aValueThatIsNotWellFormedLeavesTheFileReadable();
    void fiftyMegabytesKeepEveryLine_data();
    void fiftyMegabytesKeepEveryLine();
    void aLineOfTenMegabytesStaysWhole();

  private:
    QByteArray savedOver(const QByteArray &bytes) {
        home->writeConfiguration(bytes);
        SaveProps::save(email, entity, displayName);
        return home->readConfiguration();
    }

    std::optional<ClientHome> home;
};

void SavePropsTest::withoutAFileASaveCreatesTheFolderAndTheFilledInTemplate() {
    QVERIFY(!fs::exists(home->path() / "home"));
    SaveProps::save(email, entity, displayName);
    auto expected = QByteArray::fromStdString(clientConfigurationTemplate("nodes.test.example"));
    expected.replace("\nMinerEmailAddress       = \n", QByteArray("\n" + emailLine + "\n"));
    expected.replace("\nMinerEntityName         = \n", QByteArray("\n" + entityLine + "\n"));
    expected.replace("\nMinerDisplayName        = \n", QByteArray("\n" + displayNameLine + "\n"));
    QCOMPARE(home->readConfiguration(), expected);
    QVERIFY(expected.endsWith("\nOrbixPort               = "));
    QCOMPARE(home->configuration(), home->path() / "home/.qor/nodes.test.example/MinerClient.properties");
}

void SavePropsTest::emptyValuesAreWrittenAsTheBarePrefix() {
    SaveProps::save({}, {}, {});
    QCOMPARE(home->readConfiguration(),
             QByteArray::fromStdString(clientConfigurationTemplate("nodes.test.example")));
}

void SavePropsTest::anExistingEmptyFileGetsExactlyTheThreeLines() {
    QCOMPARE(savedOver(""), emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n");
}

void SavePropsTest::aMissingKeyIsInsertedBeforeAFinalNewline() {
    QCOMPARE(savedOver("MinerEmailAddress = x\nMinerEntityName = x\nLogLevel = 3\n"),
             emailLine + "\n" + entityLine + "\nLogLevel = 3\n" + displayNameLine + "\n");
}

void SavePropsTest::aMissingKeyIsAppendedWhenThereIsNoFinalNewline() {
    QCOMPARE(savedOver("MinerEmailAddress = x\nMinerEntityName = x\nLogLevel = 3"),
             emailLine + "\n" + entityLine + "\nLogLevel = 3\n" + displayNameLine);
}

void SavePropsTest::missingKeysComeInTheirOrder() {
    QCOMPARE(savedOver("A = 1\nMinerEntityName = x\n\n"),
             "A = 1\n" + entityLine + "\n\n" + emailLine + "\n" + displayNameLine + "\n");
    QCOMPARE(savedOver("MinerDisplayName = x"), displayNameLine + "\n" + emailLine + "\n" + entityLine);
}

void SavePropsTest::aLineWithoutAnEqualsSignIsReplacedToo() {
    QCOMPARE(savedOver("MinerEmailAddress\nMinerEntityName\nMinerDisplayName\n"),
             emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n");
}

void SavePropsTest::everyDuplicateIsRewritten() {
    const QByteArray saved =
        savedOver("MinerEntityName = a\nMinerEmailAddress = x\nMinerEntityName = b\nMinerDisplayName = x\n");
    QCOMPARE(saved, entityLine + "\n" + emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n");
}

void SavePropsTest::aLongerKeyThatBeginsWithTheSameLettersIsReplaced() {
    QCOMPARE(savedOver("MinerEmailAddressOld = x\nMinerEntityNames = x\nMinerDisplayName2 = x\n"),
             emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n");
}

void SavePropsTest::indentedAndCommentedLinesStayAndANewLineIsAdded() {
    const QByteArray others =
        " MinerEmailAddress = a\n#MinerEmailAddress = b\n" + entityLine + "\n" + displayNameLine;
    QCOMPARE(savedOver(others + "\n"), others + "\n" + emailLine + "\n");
    QCOMPARE(LoadProps::MinerEmailAddress(), email);
}

void SavePropsTest::anEntryInLowerCaseIsLeftAlone() {
    QVERIFY(savedOver("mineremailaddress = x\n")
                .startsWith(QByteArray("mineremailaddress = x\n" + emailLine + "\n")));
}

void SavePropsTest::aCrLfFileIsRewrittenWithLineFeedsAndAnEmptyLineAfterEach() {
    QCOMPARE(savedOver("A = 1\r\nMinerEmailAddress = x\r\nMinerEntityName = x\r\nMinerDisplayName = x\r\n"),
             "A = 1\n\n" + emailLine + "\n\n" + entityLine + "\n\n" + displayNameLine + "\n\n");
}

void SavePropsTest::otherNewlineCharactersBecomeLineFeeds() {
    QCOMPARE(savedOver("A\vB\fC\rD\xC2\x85"
                       "E\xE2\x80\xA8"
                       "F\xE2\x80\xA9"),
             "A\nB\nC\nD\nE\nF\n" + emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n");
}

void SavePropsTest::everyOtherLineStaysAsItIs() {
    const QByteArray others =
        QByteArrayLiteral("# comment = \xC3\xA9\xF0\x9F\x98\x80 \t\n\n\n  \t\n=\nKey=a=b\nNUL\0NUL = \0\n");
    const QByteArray identity = emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n";
    QCOMPARE(savedOver(others + identity + others), others + identity + others);
}

void SavePropsTest::aFileInUtf16IsRewrittenAsUtf8() {
    const QString text = QStringLiteral("Name = Müller €\nMinerEntityName = x\n");
    QByteArray bytes("\xFE\xFF");
    for (const QChar unit : text)
        bytes.append(static_cast<char>(unit.row())).append(static_cast<char>(unit.cell()));
    QCOMPARE(savedOver(bytes), QStringLiteral("Name = Müller €\n").toUtf8() + entityLine + "\n" + emailLine +
                                   "\n" + displayNameLine + "\n");
}

void SavePropsTest::aByteOrderMarkIsNotWrittenAgain() {
    QCOMPARE(savedOver("\xEF\xBB\xBFMinerEmailAddress = x\nMinerEntityName = x\nMinerDisplayName = x\n"),
             emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n");
}

void SavePropsTest::afterASecondByteOrderMarkThereIsNoEntry() {
    const QByteArray others = "\xEF\xBB\xBF\xEF\xBB\xBFMinerEntityName = old\n";
    const QByteArray saved = savedOver(others);
    QCOMPARE(saved, others + emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n");
    QCOMPARE(LoadProps::MinerEntityName(), entity);
    QCOMPARE(savedOver(saved), saved);
}

void SavePropsTest::valuesAreWrittenUnchanged() {
    home->writeConfiguration("");
    SaveProps::save(QStringLiteral(" \ta@b \t"), QStringLiteral("\\ \"Smith = Sons\" %1 #"),
                    QStringLiteral("\uFEFFr\0€😀"));
    QCOMPARE(home->readConfiguration(),
             QByteArrayLiteral("MinerEmailAddress       =  \ta@b \t\n"
                               "MinerEntityName         = \\ \"Smith = Sons\" %1 #\n"
                               "MinerDisplayName        = \xEF\xBB\xBFr\0\xE2\x82\xAC\xF0\x9F\x98\x80\n"));
    QCOMPARE(LoadProps::MinerEmailAddress(), QStringLiteral("a@b"));
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("\\ \"Smith"));
    QCOMPARE(LoadProps::MinerDisplayName(), QStringLiteral("\uFEFFr\0€😀"));
}

void SavePropsTest::aNewlineInAValueMakesALineOfItsOwn() {
    home->writeConfiguration("");
    SaveProps::save(QStringLiteral("a@b\n"), QStringLiteral("Acme\r\nLtd"), displayName);
    QCOMPARE(
        home->readConfiguration(),
        "MinerEmailAddress       = a@b\n\nMinerEntityName         = Acme\r\nLtd\n" + displayNameLine + "\n");
    QCOMPARE(LoadProps::MinerEmailAddress(), QStringLiteral("a@b"));
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("Acme"));
}

void SavePropsTest::aValueThatIsNotWellFormedLeavesTheFileReadable() {
    SaveProps::save(email, QStringLiteral("A") + QChar(0xD83D) + QStringLiteral("B"), displayName);
    QVERIFY(home->readConfiguration().isValidUtf8());
    QCOMPARE(LoadProps::MinerEntityName().size(), 3);
    QCOMPARE(LoadProps::MinerDisplayName(), displayName);
}

void SavePropsTest::fiftyMegabytesKeepEveryLine_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("lines of text") << QByteArray("Key                     = some value\n");
    QTest::newRow("empty lines") << QByteArray("\n");
    QTest::newRow("identity lines") << displayNameLine + "\n";
}

void SavePropsTest::fiftyMegabytesKeepEveryLine() {
    QFETCH(QByteArray, line);
    const QByteArray others = line.repeated(50'000'000 / line.size());
    const QByteArray identity = emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n";
    home->writeConfiguration(others + "MinerEmailAddress\nMinerEntityName\nMinerDisplayName\n");
    QElapsedTimer timer;
    timer.start();
    SaveProps::save(email, entity, displayName);
    qInfo("%lld ms", timer.elapsed());
    QVERIFY(timer.elapsed() < 60'000);  // on a busy machine, at a sanitizer's pace
    QVERIFY(home->readConfiguration() == others + identity);
}

void SavePropsTest::aLineOfTenMegabytesStaysWhole() {
    const QByteArray line = "Key = " + QByteArray("\xE2\x80\xA7=").repeated(2'500'000) + "\n";
    const QByteArray identity = emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n";
    QElapsedTimer timer;
    timer.start();
    QVERIFY(savedOver(line + "MinerEmailAddress" + QByteArray(10'000'000, '=') + "\n") ==
            line + emailLine + "\n" + entityLine + "\n" + displayNameLine + "\n");
    QVERIFY(timer.elapsed() < 60'000);  // on a busy machine, at a sanitizer's pace
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::SavePropsTest, QCoreApplication)
#include "SavePropsTest.moc"

#include "ClientHome.h"
#include "InChild.h"
#include "LoadProps.h"
#include "TestProgram.h"

#include <QElapsedTimer>
#include <QTest>

#include <filesystem>
#include <optional>

namespace ferrolt {

namespace fs = std::filesystem;

class LoadPropsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() { home.emplace(); }
    void cleanup() { home.reset(); }

    void withoutAFileEveryGetterReturnsTheEmptyString();
    void aFileThatCannotBeReadHasNoValues_data();
    void aFileThatCannotBeReadHasNoValues();
    void aFileWithoutPermissionHasNoValues();
    void blanksAroundAValueAreTrimmed();
    void onlySpacesAndTabsAreTrimmed();
    void aLineWithTheKeyNameButNoEqualsSignIsSkipped();
    void aValueWithAnEqualsSignReadsBackUpToThatSign();
    void theFirstOfTwoLinesOfAKeyCounts();
    void anEmptyFirstValueStillEndsTheWalk();
    void aLongerKeyThatBeginsWithTheSameLettersIsAnEntryToo();
    void anIndentedOrCommentedLineIsNoEntry();
    void keysAreCaseSensitive();
    void valuesOfOtherEncodingsAreRead_data();
    void valuesOfOtherEncodingsAreRead();
    void aByteOrderMarkIsTextAnywhereButAtTheStart();
    void linesMayEndInAnyNewlineCharacter();
    void nulBytesAreText();
    void everyCallReadsTheFileAfresh();
    void fiftyMegabytesAreSearchedQuickly();
    void aLineOfTenMegabytesIsReadQuickly_data();
    void aLineOfTenMegabytesIsReadQuickly();
    void withoutAFileTheIdentityIsIncomplete();
    void theIdentityIsCompleteWithBothValues_data();
    void theIdentityIsCompleteWithBothValues();

  private:
    std::optional<ClientHome> home;
};

void LoadPropsTest::withoutAFileEveryGetterReturnsTheEmptyString() {
    QCOMPARE(LoadProps::value(QStringLiteral("MinerEmailAddress")), std::nullopt);
    for (const QString &value :
         {LoadProps::MinerEmailAddress(), LoadProps::MinerEntityName(), LoadProps::MinerDisplayName()})
        QCOMPARE(value, QString());
}

void LoadPropsTest::aFileThatCannotBeReadHasNoValues_data() {
    QTest::addColumn<QString>("kind");
    for (const char *kind :
         {"empty", "folder", "not UTF-8", "failing", "endless", "file in place of its folder"})
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void LoadPropsTest::aFileThatCannotBeReadHasNoValues() {
    QFETCH(QString, kind);
    if (kind == QStringLiteral("file in place of its folder"))
        ClientHome::write(home->configuration().parent_path(), "MinerEntityName = Acme\n");
    else
        fs::create_directories(home->configuration().parent_path());
    if (kind == QStringLiteral("empty"))
        home->writeConfiguration("");
    if (kind == QStringLiteral("folder"))
        fs::create_directory(home->configuration());
    if (kind == QStringLiteral("not UTF-8"))
        home->writeConfiguration("MinerEntityName = Acme\nMinerDisplayName = M\xFCller\n");
    if (kind == QStringLiteral("failing"))
        fs::create_symlink("/proc/self/mem", home->configuration());
    if (kind == QStringLiteral("endless"))
        fs::create_symlink("/dev/zero", home->configuration());
    QCOMPARE(LoadProps::value(QStringLiteral("MinerEntityName")), std::nullopt);
    QCOMPARE(LoadProps::MinerEntityName(), QString());
}

void LoadPropsTest::aFileWithoutPermissionHasNoValues() {
    home->writeConfiguration("MinerEntityName = Acme\n");
    QCOMPARE(inChild([] { return obeyPermissions() && !LoadProps::MinerEntityName().isEmpty() ? 0 : 1; }), 0);
    fs::permissions(home->configuration(), fs::perms::none);
    QCOMPARE(inChild([] { return obeyPermissions() && LoadProps::MinerEntityName().isEmpty() ? 0 : 1; }), 0);
}

void LoadPropsTest::blanksAroundAValueAreTrimmed() {
    home->writeConfiguration("MinerEmailAddress       = \t  miner@example.org \t \n");
    QCOMPARE(LoadProps::MinerEmailAddress(), QStringLiteral("miner@example.org"));
}

void LoadPropsTest::onlySpacesAndTabsAreTrimmed() {
    home->writeConfiguration("MinerEntityName = \xC2\xA0 Acme \xE2\x80\x83\n");
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("\u00A0 Acme \u2003"));
}

void LoadPropsTest::aLineWithTheKeyNameButNoEqualsSignIsSkipped() {
    home->writeConfiguration(
        "MinerEmailAddress\nMinerEmailAddress: no\nMinerEmailAddress = miner@example.org\n");
    QCOMPARE(LoadProps::MinerEmailAddress(), QStringLiteral("miner@example.org"));
}

void LoadPropsTest::aValueWithAnEqualsSignReadsBackUpToThatSign() {
    home->writeConfiguration("MinerEntityName = Smith = Sons = Co\n");
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("Smith"));
}

void LoadPropsTest::theFirstOfTwoLinesOfAKeyCounts() {
    home->writeConfiguration("MinerEntityName = first\nMinerEntityName = second\n");
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("first"));
}

void LoadPropsTest::anEmptyFirstValueStillEndsTheWalk() {
    home->writeConfiguration("MinerEntityName = \t\nMinerEntityName = second\n");
    QCOMPARE(LoadProps::value(QStringLiteral("MinerEntityName")), QString());
}

void LoadPropsTest::aLongerKeyThatBeginsWithTheSameLettersIsAnEntryToo() {
    home->writeConfiguration("MinerEmailAddressOld = old@example.org\nMinerEmailAddress = new@example.org\n");
    QCOMPARE(LoadProps::MinerEmailAddress(), QStringLiteral("old@example.org"));
}

void LoadPropsTest::anIndentedOrCommentedLineIsNoEntry() {
    home->writeConfiguration(
        " MinerEmailAddress = a@b\n\tMinerEmailAddress = a@b\n#MinerEmailAddress = a@b\n");
    QCOMPARE(LoadProps::value(QStringLiteral("MinerEmailAddress")), std::nullopt);
}

void LoadPropsTest::keysAreCaseSensitive() {
    home->writeConfiguration("mineremailaddress = a@b\nMINEREMAILADDRESS = a@b\n");
    QCOMPARE(LoadProps::value(QStringLiteral("MinerEmailAddress")), std::nullopt);
}

void LoadPropsTest::valuesOfOtherEncodingsAreRead_data() {
    QTest::addColumn<QByteArray>("bytes");
    const QString text = QStringLiteral("MinerEntityName = Müller € 😀\nMinerDisplayName = rig\n");
    QTest::newRow("UTF-8") << text.toUtf8();
    QTest::newRow("UTF-8 with a mark") << "\xEF\xBB\xBF" + text.toUtf8();
    QByteArray little("\xFF\xFE");
    QByteArray big("\xFE\xFF");
    for (const QChar unit : text) {
        little.append(static_cast<char>(unit.cell())).append(static_cast<char>(unit.row()));
        big.append(static_cast<char>(unit.row())).append(static_cast<char>(unit.cell()));
    }
    QTest::newRow("UTF-16, little-endian") << little;
    QTest::newRow("UTF-16, big-endian") << big;
}

void LoadPropsTest::valuesOfOtherEncodingsAreRead() {
    QFETCH(QByteArray, bytes);
    home->writeConfiguration(bytes);
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("Müller € 😀"));
    QCOMPARE(LoadProps::MinerDisplayName(), QStringLiteral("rig"));
}

void LoadPropsTest::aByteOrderMarkIsTextAnywhereButAtTheStart() {
    home->writeConfiguration(
        "MinerEntityName = \xEF\xBB\xBF"
        "Acme\n");
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("\uFEFFAcme"));
}

void LoadPropsTest::linesMayEndInAnyNewlineCharacter() {
    home->writeConfiguration(
        "x = 1\r\nMinerEmailAddress = a@b\r\nMinerEntityName = Acme\xE2\x80\xA8MinerDisplayName = rig");
    QCOMPARE(LoadProps::MinerEmailAddress(), QStringLiteral("a@b"));
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("Acme"));
    QCOMPARE(LoadProps::MinerDisplayName(), QStringLiteral("rig"));
}

void LoadPropsTest::nulBytesAreText() {
    home->writeConfiguration(QByteArrayLiteral("\0\0\nMinerEntityName = A\0B\nMiner\0DisplayName = x\n"));
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("A\0B"));
    QCOMPARE(LoadProps::value(QStringLiteral("MinerDisplayName")), std::nullopt);
}

void LoadPropsTest::everyCallReadsTheFileAfresh() {
    home->writeConfiguration("MinerEntityName = one\n");
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("one"));
    home->writeConfiguration("MinerEntityName = two\n");
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("two"));
    fs::remove(home->configuration());
    QCOMPARE(LoadProps::MinerEntityName(), QString());
}

void LoadPropsTest::fiftyMegabytesAreSearchedQuickly() {
    const QByteArray other = "MinerEntityNam = a line that is nearly the wanted one\n";
    home->writeConfiguration(other.repeated(50'000'000 / other.size()) + "MinerEntityName = Acme\n");
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(LoadProps::MinerEntityName(), QStringLiteral("Acme"));
    qInfo("%lld ms", timer.elapsed());
    QVERIFY(timer.elapsed() < 60'000);  // on a busy machine, at a sanitizer's pace
}

void LoadPropsTest::aLineOfTenMegabytesIsReadQuickly_data() {
    constexpr qsizetype size = 10'000'000;
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<qsizetype>("valueLength");
    QTest::newRow("one value") << "MinerEntityName = " + QByteArray(size, 'x') << size;
    QTest::newRow("blanks only") << "MinerEntityName = " + QByteArray(size, ' ') << qsizetype{0};
    QTest::newRow("blanks inside") << "MinerEntityName = x" + QByteArray(size, '\t') + "x" << size + 2;
    QTest::newRow("equals signs only") << "MinerEntityName" + QByteArray(size, '=') << qsizetype{0};
    QTest::newRow("lead bytes of newline characters")
        << "MinerEntityName = " + QByteArray("\xE2\x80\xA7").repeated(size / 3) << size / 3;
}

void LoadPropsTest::aLineOfTenMegabytesIsReadQuickly() {
    QFETCH(QByteArray, line);
    QFETCH(qsizetype, valueLength);
    home->writeConfiguration("x = 1\n" + line + "\nMinerDisplayName = rig\n");
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(LoadProps::MinerEntityName().size(), valueLength);
    QCOMPARE(LoadProps::MinerDisplayName(), QStringLiteral("rig"));
    qInfo("%lld ms", timer.elapsed());
    QVERIFY(timer.elapsed() < 60'000);  // on a busy machine, at a sanitizer's pace
}

void LoadPropsTest::withoutAFileTheIdentityIsIncomplete() {
    QVERIFY(!LoadProps::isIdentityComplete());
}

void LoadPropsTest::theIdentityIsCompleteWithBothValues_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isComplete");
    const auto row = [](const char *name, const char *email, const char *entity, bool isComplete) {
        QTest::newRow(name) << QByteArray("MinerEmailAddress = ") + email + "\nMinerEntityName = " + entity +
                                   '\n'
                            << isComplete;
    };
    row("both set", "miner@example.org", "Acme", true);
    row("neither an at sign nor a space is asked for", "miner", "Acme", true);
    row("no e-mail", "", "Acme", false);
    row("no entity", "miner@example.org", "", false);
    row("an entity of blanks only", "miner@example.org", " \t ", false);
    row("an e-mail of blanks only", "\t", "Acme", false);
    row("nothing before a second equals sign", "= miner@example.org", "Acme", false);
    row("a no-break space is no blank", "miner@example.org", "\xC2\xA0", true);
    // A newline ends the file's line, so no value contains one.
    row("an entity of only a line break", "miner@example.org", "\r", false);
    QTest::newRow("keys missing") << QByteArray("MinerDisplayName = rig\n") << false;
}

void LoadPropsTest::theIdentityIsCompleteWithBothValues() {
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isComplete);
    home->writeConfiguration(bytes);
    QCOMPARE(LoadProps::isIdentityComplete(), isComplete);
}

}  // namespace ferrolt

TEST_CLASS(ferrolt::LoadPropsTest, QCoreApplication)
#include "LoadPropsTest.moc"

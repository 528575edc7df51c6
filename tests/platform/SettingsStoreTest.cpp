#include "InChild.h"
#include "JsonFile.h"
#include "ProcessSetup.h"
#include "ReverseDomain.h"
#include "SettingsStore.h"
#include "TestProgram.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <random>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ferrolt;

namespace {

const QString key = QStringLiteral("InstalledLibreOfficeVersion");

}  // namespace

class SettingsStoreTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> folder;

    QString path() const { return folder->filePath(QStringLiteral("settings.json")); }
    SettingsStore store() const { return SettingsStore(path().toStdString()); }
    void write(const QByteArray &bytes) const {
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    QByteArray read() const {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

  private Q_SLOTS:
    void init() { folder = std::make_unique<QTemporaryDir>(); }
    void cleanup() { folder.reset(); }

    void aFreshStoreHasNothing() {
        QVERIFY(!store().text(key));
        QVERIFY(!QFile::exists(path()));
    }

    void aFileThatMayNotBeReadHasNothing() {
        QVERIFY(store().setText(key, QStringLiteral("26.2.4")));
        QCOMPARE(::chmod(path().toUtf8().constData(), 0), 0);
        const int code = inChild([&] { return obeyPermissions() && !store().text(key) ? 0 : 1; });
        QCOMPARE(code, 0);
    }

    void aTextComesBackAsItWasFromAnotherStore_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("version") << QStringLiteral("26.2.4");
        QTest::newRow("number") << QStringLiteral("7");
        QTest::newRow("zeroes") << QStringLiteral("007.10");
        QTest::newRow("empty") << QStringLiteral("");
        QTest::newRow("null") << QString();
        QTest::newRow("list") << QStringLiteral("a, b; c");
        QTest::newRow("quotes") << QStringLiteral("\"a\" 'b'");
        QTest::newRow("at") << QStringLiteral("@Variant(x)");
        QTest::newRow("at size") << QStringLiteral("@Size(1 2)");
        QTest::newRow("lines") << QStringLiteral("a\nb\r\n[General]\nc=d");
        QTest::newRow("control") << QStringLiteral("a\x01\x7f\tb");
        QTest::newRow("backslash") << QStringLiteral("..\\..\\x\\0");
        QTest::newRow("unicode") << QStringLiteral(u"\u00e9\u4e2d\U0001F600\u2026");
        QTest::newRow("percent") << QStringLiteral("%20 %00 100%");
        QTest::newRow("blanks") << QStringLiteral("  a  ");
        QTest::newRow("long") << QString(10000, QLatin1Char('9'));
        QTest::newRow("equals") << QStringLiteral("=a=b=");
        QTest::newRow("true") << QStringLiteral("true");
    }
    void aTextComesBackAsItWasFromAnotherStore() {
        QFETCH(QString, text);
        QVERIFY(store().setText(key, text));
        const auto back = store().text(key);
        QVERIFY(back.has_value());
        QCOMPARE(*back, text);
    }

    void aNewTextReplacesTheOldAndOthersStay() {
        QVERIFY(store().setText(QStringLiteral("Other"), QStringLiteral("stays")));
        QVERIFY(store().setText(key, QStringLiteral("1")));
        QVERIFY(store().setText(key, QStringLiteral("2")));
        QCOMPARE(*store().text(key), QStringLiteral("2"));
        QCOMPARE(*store().text(QStringLiteral("Other")), QStringLiteral("stays"));
    }

    void aStoreSeesWhatAnotherWrote() {
        const SettingsStore reader = store();
        QVERIFY(!reader.text(key));
        QVERIFY(store().setText(key, QStringLiteral("1")));
        QCOMPARE(reader.text(key).value_or(QString()), QStringLiteral("1"));
    }

    void theFolderIsMadeWhenItIsMissing() {
        SettingsStore deep(folder->filePath(QStringLiteral("a/b/settings.json")).toStdString());
        QVERIFY(deep.setText(key, QStringLiteral("1")));
        QCOMPARE(*deep.text(key), QStringLiteral("1"));
    }

    void aValueThatIsNotATextIsNone_data() {
        QTest::addColumn<QByteArray>("json");
        for (const char *json : {"null", "7", "7.6", "true", "[]", "[\"7\"]", "{}", "{\"7\":\"7\"}"})
            QTest::newRow(json) << QByteArray(json);
    }
    void aValueThatIsNotATextIsNone() {
        QFETCH(QByteArray, json);
        write("{\"InstalledLibreOfficeVersion\":" + json + ",\"Other\":\"stays\"}");
        QVERIFY(!store().text(key));
        QVERIFY(store().setText(key, QStringLiteral("1")));
        QCOMPARE(store().text(key).value_or(QString()), QStringLiteral("1"));
        QCOMPARE(store().text(QStringLiteral("Other")).value_or(QString()), QStringLiteral("stays"));
    }

    void aFileThatIsNotUnderstoodHasNoEntriesAndIsReplaced_data() {
        QTest::addColumn<QByteArray>("bytes");
        for (const char *bytes :
             {"", "garbage", "[]", "\"text\"", "{\"InstalledLibreOfficeVersion\":\"7\"",
              "[General] InstalledLibreOfficeVersion=7", "{\"InstalledLibreOfficeVersion\":\"\xff\"}"})
            QTest::newRow(bytes) << QByteArray(bytes);
    }
    void aFileThatIsNotUnderstoodHasNoEntriesAndIsReplaced() {
        QFETCH(QByteArray, bytes);
        write(bytes);
        QVERIFY(!store().text(key));
        QVERIFY(store().setText(key, QStringLiteral("1")));
        QCOMPARE(store().text(key).value_or(QString()), QStringLiteral("1"));
    }

    void damagedFilesNeitherCrashNorBlockTheNextStore() {
        std::mt19937 random(7);
        const QByteArray good =
            "{\"InstalledLibreOfficeVersion\":\"26.2.4\",\"a\":[1,{\"b\":null}],\"c/d\":\"\\u0000\"}";
        for (int round = 0; round < 100; ++round) {
            QByteArray bad = good;
            for (int change = 0; change < 1 + round % 8; ++change)
                bad[static_cast<qsizetype>(random() % static_cast<unsigned>(bad.size()))] =
                    static_cast<char>(random());
            if (round % 5 == 0)
                bad.truncate(static_cast<qsizetype>(random() % static_cast<unsigned>(bad.size())));
            write(bad);
            (void) store().text(key);
            if (store().setText(key, QStringLiteral("7")))
                QCOMPARE(store().text(key).value_or(QStringLiteral("nothing")), QStringLiteral("7"));
        }
    }

    void whatIsNoSettingsFileIsLeftAlone_data() {
        QTest::addColumn<QString>("what");
        for (const char *what : {"folder", "pipe", "device", "huge file"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }
    void whatIsNoSettingsFileIsLeftAlone() {
        QFETCH(QString, what);
        if (what == QLatin1String("folder"))
            QVERIFY(QDir().mkpath(path()));
        else if (what == QLatin1String("pipe"))
            QCOMPARE(mkfifo(path().toUtf8().constData(), 0600), 0);
        else if (what == QLatin1String("device"))
            QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path()));
        else
            QVERIFY(QFile(path()).open(QIODevice::WriteOnly) && QFile::resize(path(), 100'000'000));
        QVERIFY(!store().text(key));
        QVERIFY(!store().setText(key, QStringLiteral("1")));
        QVERIFY(!store().text(key));
    }

    /// On a home folder that several machines share.
    /// Else the next store would drop every entry but its own.
    void aFileThatCannotBeReadToItsEndIsNotAnEmptyOne() {
        const std::filesystem::path unreadable =
            "/proc/self/mem";  // opens, and its first bytes are no memory
        if (!std::filesystem::exists(unreadable))
            QSKIP("This system has no file that opens and cannot be read.");
        QVERIFY(!JsonFile::read(unreadable));
    }

    void aLockThatAnotherHostLeftHoldsNothingUp() {
        QVERIFY(store().setText(key, QStringLiteral("old")));
        QFile lock(path() + QStringLiteral(".lock"));
        QVERIFY(lock.open(QIODevice::WriteOnly));
        const QByteArray holder = "1\nferrolt-miner-launcher\nanother-host\n";
        QCOMPARE(lock.write(holder), holder.size());
        lock.close();
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(store().text(key).value_or(QString()), QStringLiteral("old"));
        QVERIFY(store().setText(key, QStringLiteral("new")));
        QVERIFY(timer.elapsed() < 10'000);
        QCOMPARE(store().text(key).value_or(QString()), QStringLiteral("new"));
    }

    void aTextThatWouldMakeTheFileUnreadableIsNotStored() {
        QVERIFY(store().setText(key, QStringLiteral("old")));
        QVERIFY(!store().setText(key, QString(2'000'000, QLatin1Char('9'))));
        QCOMPARE(store().text(key).value_or(QString()), QStringLiteral("old"));
        QVERIFY(store().setText(key, QStringLiteral("new")));
    }

    void aSymbolicLinkAndThePermissionsStay() {
        QVERIFY(store().setText(key, QStringLiteral("old")));
        const QString target = folder->filePath(QStringLiteral("real.json"));
        QVERIFY(QFile::rename(path(), target) && QFile::link(QStringLiteral("real.json"), path()));
        const auto permissions = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
        QVERIFY(QFile::setPermissions(target, permissions));
        QVERIFY(store().setText(key, QStringLiteral("new")));
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(QFile::permissions(target) & ~(QFile::ReadUser | QFile::WriteUser), permissions);
        QCOMPARE(SettingsStore(target.toStdString()).text(key).value_or(QString()), QStringLiteral("new"));
    }

    void aFullDiskLeavesTheStoreAsItWas() {
        QVERIFY(store().setText(key, QStringLiteral("old")));
        const QByteArray before = read();
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        setUpProcess();
        const rlimit small{16, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        const bool stored = store().setText(key, QString(1000, QLatin1Char('x')));
        setrlimit(RLIMIT_FSIZE, &limit);
        QVERIFY(!stored);
        QCOMPARE(read(), before);
        QCOMPARE(store().text(key).value_or(QString()), QStringLiteral("old"));
    }

    void theUsersStoreStandsInTheConfigurationFolderUnderTheIdentifier() {
        qputenv("XDG_CONFIG_HOME", folder->path().toUtf8());
        const auto own = SettingsStore::ofUser();
        QVERIFY(own->setText(key, QStringLiteral("26.2.4")));
        qunsetenv("XDG_CONFIG_HOME");
        const QString name = QString::fromUtf8(reverseDomain.data(), qsizetype(reverseDomain.size()));
        QCOMPARE(QDir(folder->path()).entryList(QDir::Files), QStringList{name + QStringLiteral(".json")});
    }

    void withoutAConfigurationFolderItIsBelowTheHome() {
        const QByteArray home = qgetenv("HOME");
        qputenv("HOME", folder->path().toUtf8());
        const auto own = SettingsStore::ofUser();
        QVERIFY(own->setText(key, QStringLiteral("26.2.4")));
        qputenv("HOME", home);
        QCOMPARE(QDir(folder->filePath(QStringLiteral(".config"))).entryList(QDir::Files).size(), 1);
    }
};

TEST_CLASS(SettingsStoreTest, QCoreApplication)
#include "SettingsStoreTest.moc"

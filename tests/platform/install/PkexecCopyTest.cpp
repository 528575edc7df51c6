#include "Background.h"
#include "PkexecCopy.h"
#include "TestProgram.h"
#include "TreeSnapshot.h"

#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace ferrolt;
namespace fs = std::filesystem;

/// How the prompt is called; what the helper then does is shown by InstallationScriptTest.
class PkexecCopyTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> scratch;
    fs::path folder;
    fs::path source;
    PkexecCopy::Places places;

    void promptSays(const QByteArray &commands) { writeScript(places.prompt, commands); }
    /// Has the prompt record its arguments, each with a zero byte after it, and its environment.
    void promptTakesNotes() {
        const QByteArray path = QByteArray::fromStdString(folder.string());
        promptSays("printf '%s\\0' \"$@\" >'" + path + "/arguments'\n/usr/bin/env >'" + path +
                   "/environment'\n");
    }
    QByteArrayList notedArguments() const {
        QByteArrayList arguments = readFile(folder / "arguments").split('\0');
        arguments.removeLast();
        return arguments;
    }
    bool copyTo(const fs::path &destination) const {
        return inBackground([&] { return PkexecCopy(places).privilegedCopy(source, destination); });
    }
    bool copy() const { return copyTo(places.application); }

  private Q_SLOTS:
    void init() {
        scratch = std::make_unique<QTemporaryDir>();
        folder = scratch->path().toStdString();
        source = folder / "it's a \u00fc/mnt/LibreOffice.app";
        places = PkexecCopy::Places();
        places.prompt = folder / "pkexec";
        promptTakesNotes();
    }

    void theProductionValuesAreTheSystemsPromptAndTheOneApplication() {
        const PkexecCopy::Places production;
        QCOMPARE(production.prompt, fs::path("/usr/bin/pkexec"));
        QCOMPARE(production.application, fs::path("/Applications/LibreOffice.app"));
        QCOMPARE(production.helper, fs::canonical("/proc/self/exe").parent_path().parent_path() /
                                        "libexec/ferrolt-miner-launcher/install-libreoffice");
        QVERIFY(!fs::exists(production.helper));  // this is a checkout
    }

    void withoutAHelperTheScriptItselfIsHandedOver() {
        QVERIFY(copy());
        QCOMPARE(notedArguments(),
                 (QByteArrayList{"--disable-internal-agent", "/bin/sh", "-c",
                                 readFile(FERROLT_INSTALLATION_SCRIPT), "install-libreoffice",
                                 QByteArray::fromStdString(source.string())}));
    }

    void aHelperThatOnlyRootCanChangeIsCalledInstead() {
        places.helper = fs::canonical("/usr/bin/env");
        QVERIFY(copy());
        QCOMPARE(notedArguments(), (QByteArrayList{"--disable-internal-agent",
                                                   QByteArray::fromStdString(places.helper.string()),
                                                   QByteArray::fromStdString(source.string())}));
    }

    void aHelperThatSomebodyElseCouldHaveChangedIsNotCalled_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<bool>("isRoots");
        QTest::newRow("writable by its group") << 0775 << 0755 << true;
        QTest::newRow("writable by all") << 0757 << 0755 << true;
        QTest::newRow("in a folder that is writable by all") << 0755 << 0777 << true;
        QTest::newRow("of another user") << 0755 << 0755 << false;
        QTest::newRow("no program") << 0644 << 0755 << true;
    }
    void aHelperThatSomebodyElseCouldHaveChangedIsNotCalled() {
        QFETCH(int, mode);
        QFETCH(int, folderMode);
        QFETCH(bool, isRoots);
        // Below a folder that only root can write to, so that each row has one reason only. For an ordinary
        // user every row fails, since its own files are not root's.
        const fs::path parent = geteuid() == 0 ? fs::path("/var/lib") : folder;
        const QTemporaryDir own(QString::fromStdString((parent / "ferrolt-helper-XXXXXX").string()));
        const fs::path libexec = own.path().toStdString();
        places.helper = libexec / "install-libreoffice";
        writeScript(places.helper, "exit 0");
        chmod(libexec.c_str(), 0755);
        chmod(places.helper.c_str(), 0755);
        QCOMPARE(PkexecCopy::isWritableByRootOnly(places.helper), geteuid() == 0);

        chmod(places.helper.c_str(), static_cast<mode_t>(mode));
        chmod(libexec.c_str(), static_cast<mode_t>(folderMode));
        if (!isRoots && geteuid() == 0)
            QCOMPARE(chown(places.helper.c_str(), 65534, 65534), 0);
        QVERIFY(!PkexecCopy::isWritableByRootOnly(places.helper));
        QVERIFY(copy());
        QCOMPARE(notedArguments().value(1), QByteArray("/bin/sh"));
    }

    void aLinkIsNoHelper() {
        const fs::path program = fs::canonical("/usr/bin/env");
        QVERIFY(PkexecCopy::isWritableByRootOnly(program));
        fs::create_symlink(program, folder / "helper");
        QVERIFY(!PkexecCopy::isWritableByRootOnly(folder / "helper"));
        QVERIFY(!PkexecCopy::isWritableByRootOnly(folder / "missing"));
        QVERIFY(!PkexecCopy::isWritableByRootOnly("usr/bin/env"));
    }

    void thePromptGetsACleanEnvironment() {
        // pkexec refuses each of these before it asks anybody.
        qputenv("SHELL", "/no/such/shell");
        qputenv("LC_TIME", "../%s");
        qputenv("TAR_OPTIONS", "--checkpoint-action=exec=false");
        QVERIFY(copy());
        for (const char *name : {"SHELL", "LC_TIME", "TAR_OPTIONS"})
            qunsetenv(name);
        QByteArrayList names;
        for (const QByteArray &line : readFile(folder / "environment").trimmed().split('\n'))
            names << line.left(line.indexOf('='));
        for (const char *ofTheShell : {"PWD", "SHLVL", "_", "OLDPWD"})
            names.removeAll(ofTheShell);
        QCOMPARE(names, QByteArrayList{"PATH"});
    }

    void aRefusedPromptIsAFailure() {
        promptSays("exit 126");
        QVERIFY(!copy());
    }

    void aMissingPromptIsAFailureAndNamed() {
        QCOMPARE(PkexecCopy(places).missingProgram(), std::string());
        fs::remove(places.prompt);
        QVERIFY(!copy());
        QCOMPARE(PkexecCopy(places).missingProgram(), places.prompt.string());
    }

    void anyOtherDestinationThanTheScriptsIsRefusedUnasked() {
        QVERIFY(!copyTo(folder / "LibreOffice.app"));
        QVERIFY(!fs::exists(folder / "arguments"));
    }
};

TEST_CLASS(PkexecCopyTest, QCoreApplication)
#include "PkexecCopyTest.moc"

#include "TestProgram.h"
#include "Waiting.h"

#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <csignal>

#include <sys/stat.h>

using namespace ferrolt;

/// What the built tree makes of itself on a system: nothing is built here.
class PackageTest : public QObject {
    Q_OBJECT

    QTemporaryDir folder;
    QString prefix = folder.filePath("root/usr/");

    struct Outcome {
        int exitCode = -1;
        QString printed;
    };
    Outcome run(const QString &program, const QStringList &arguments,
                const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment()) {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.setWorkingDirectory(folder.path());
        process.start(program, arguments);
        if (!process.waitForFinished(60000))
            return {-1, process.errorString()};
        const int code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        return {code, QString::fromUtf8(process.readAll())};
    }

    static QStringList filesOfAnInstallation() {
        return {"bin/ferrolt-miner-launcher",
                "libexec/ferrolt-miner-launcher/install-libreoffice",
                "share/applications/ferrolt-miner-launcher.desktop",
                "share/doc/ferrolt-miner-launcher/copyright",
                "share/icons/hicolor/scalable/apps/ferrolt-miner-launcher.svg",
                "share/metainfo/" FERROLT_REVERSE_DOMAIN ".metainfo.xml",
                "share/polkit-1/actions/" FERROLT_REVERSE_DOMAIN ".policy"};
    }

  private Q_SLOTS:
    void initTestCase() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DESTDIR", folder.filePath("root"));
        // The builder's own mask must not make the helper's folder writable by others.
        const mode_t mask = umask(0);
        const Outcome installed =
            run(FERROLT_CMAKE, {"--install", FERROLT_BUILD, "--prefix", "/usr"}, environment);
        umask(mask);
        QVERIFY2(installed.exitCode == 0, qPrintable(installed.printed));
    }

    void anInstallationIsTheProgramAndWhatTheDesktopShowsOfItAndNothingElse() {
        QStringList found;
        for (QDirIterator it(prefix, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
            found << QDir(prefix).relativeFilePath(it.next());
        found.sort();
        QCOMPARE(found, filesOfAnInstallation());
        QVERIFY(QFileInfo(prefix + "share/ferrolt-miner-launcher").isDir());  // for the engine
    }

    void theProgramIsHardened() {
        const Outcome checked =
            run(FERROLT_SOURCES "/tools/check-hardening", {prefix + "bin/ferrolt-miner-launcher"});
        QVERIFY2(checked.exitCode == 0, qPrintable(checked.printed));
    }

    /// The built program cannot tell: the compiler calls none of these functions where it knows all sizes.
    void theModulesAreCompiledWithCheckedFunctionsOfTheCLibrary() {
        QFile file(FERROLT_BUILD "/compile_commands.json");
        QVERIFY(file.open(QFile::ReadOnly));
        int modules = 0;
        for (const QJsonValue &value : QJsonDocument::fromJson(file.readAll()).array()) {
            const QString command = value["command"].toString();
            if (!command.contains(" -DQT_NO_CAST_FROM_ASCII "))  // as a module's only
                continue;
            ++modules;
            QVERIFY2(command.contains(" -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 "), qPrintable(command));
        }
        QVERIFY(modules > 0);
    }

    void theDesktopEntryIsValidAndLeadsToTheProgramAndItsIcon() {
        const QString entry = prefix + "share/applications/ferrolt-miner-launcher.desktop";
        const Outcome checked = run("desktop-file-validate", {entry});
        QVERIFY2(checked.exitCode == 0 && checked.printed.isEmpty(), qPrintable(checked.printed));
        const QSettings settings(entry, QSettings::IniFormat);
        QVERIFY(QFileInfo(prefix + "bin/" + settings.value("Desktop Entry/Exec").toString()).isExecutable());
        QVERIFY(QFile::exists(prefix + "share/icons/hicolor/scalable/apps/" +
                              settings.value("Desktop Entry/Icon").toString() + ".svg"));
    }

    void theMetadataIsValid() {
        const Outcome checked =
            run("appstreamcli",
                {"validate", "--no-net", prefix + "share/metainfo/" FERROLT_REVERSE_DOMAIN ".metainfo.xml"});
        QVERIFY2(checked.exitCode == 0, qPrintable(checked.printed));
    }

    void theActionIsForTheInstalledHelperAndIsAskedForEachTime() {
        QFile file(prefix + "share/polkit-1/actions/" FERROLT_REVERSE_DOMAIN ".policy");
        QVERIFY(file.open(QFile::ReadOnly));
        QXmlStreamReader xml(&file);
        QMap<QString, QString> found;
        while (!xml.atEnd())
            if (xml.readNext() == QXmlStreamReader::StartElement) {
                QString name = xml.name().toString();
                if (name == u"action")
                    found[name] = xml.attributes().value("id").toString();
                if (name == u"annotate")
                    name = xml.attributes().value("key").toString();
                if (name == u"message" || name.contains(u"allow_") || name.contains(u".exec."))
                    found[name] = xml.readElementText();
            }
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
        QCOMPARE(found, (QMap<QString, QString>{
                            {"action", FERROLT_REVERSE_DOMAIN ".install-libreoffice"},
                            {"message",
                             "Authentication is needed for Ferrolt Miner Launcher to install LibreOffice "
                             "into /Applications"},
                            {"allow_any", "auth_admin"},
                            {"allow_inactive", "auth_admin"},
                            {"allow_active", "auth_admin"},
                            {"org.freedesktop.policykit.exec.path",
                             "/usr/libexec/ferrolt-miner-launcher/install-libreoffice"}}));
        const QFileInfo helper(prefix + "libexec/ferrolt-miner-launcher/install-libreoffice");
        QVERIFY(helper.isExecutable());
        QVERIFY(!(helper.permissions() & (QFile::WriteGroup | QFile::WriteOther)));
        QVERIFY(!(QFileInfo(helper.path()).permissions() & (QFile::WriteGroup | QFile::WriteOther)));
    }

    void theInstalledProgramStartsFromWhereItStands() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "SESSION_MANAGER",
                                 "XDG_STATE_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
            environment.remove(name);
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        environment.insert("HOME", folder.filePath("home"));
        environment.insert("XDG_RUNTIME_DIR", folder.filePath("runtime"));
        QDir(folder.path()).mkpath("runtime");
        QFile::setPermissions(folder.filePath("runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QProcess launcher;
        launcher.setProcessEnvironment(environment);
        launcher.start(prefix + "bin/ferrolt-miner-launcher", {});
        QVERIFY(launcher.waitForStarted());
        QVERIFY(waitUntil([&] {
            return launcher.state() == QProcess::NotRunning ||
                   QFile::exists(folder.filePath("home/.local/state/ferrolt-miner-launcher/instance.lock"));
        }));
        const Outcome second = run(prefix + "bin/ferrolt-miner-launcher", {}, environment);
        QVERIFY2(second.exitCode == 0, qPrintable(second.printed));
        QCOMPARE(launcher.state(), QProcess::Running);
        // A start has come through to its signals when one of them ends it properly.
        QVERIFY(waitUntil([&] { return handlesSigterm(launcher.processId()); }));
        launcher.terminate();
        QVERIFY(launcher.waitForFinished(20000));
        QCOMPARE(launcher.exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.exitCode(), 0);
    }

    void theDebianPackageHoldsTheSameFilesAndNamesWhatItNeeds() {
        const Outcome made = run(FERROLT_CPACK, {"-G", "DEB", "--config", FERROLT_BUILD "/CPackConfig.cmake",
                                                 "-B", folder.filePath("package")});
        QVERIFY2(made.exitCode == 0, qPrintable(made.printed));
        const QStringList packages = QDir(folder.filePath("package")).entryList({"*.deb"});
        QCOMPARE(packages.size(), 1);
        const QString package = folder.filePath("package/" + packages.first());

        QStringList files;
        for (const QString &line : run("dpkg-deb", {"--contents", package}).printed.split('\n')) {
            const QString path = line.section("./usr/", 1);
            if (!line.startsWith('d') && !path.isEmpty())
                files << path;
            QVERIFY2(line.isEmpty() || line.contains(" root/root "), qPrintable(line));
        }
        files.sort();
        QCOMPARE(files, filesOfAnInstallation());

        QCOMPARE(run("dpkg-deb", {"--extract", package, folder.filePath("extracted")}).exitCode, 0);
        const QString policy = "share/polkit-1/actions/" FERROLT_REVERSE_DOMAIN ".policy";
        QFile packed(folder.filePath("extracted/usr/" + policy));
        QFile installed(prefix + policy);
        QVERIFY(packed.open(QFile::ReadOnly) && installed.open(QFile::ReadOnly));
        QCOMPARE(packed.readAll(), installed.readAll());

        const QString needed = run("dpkg-deb", {"--field", package, "Depends"}).printed;
        for (const char *other :
             {"libqt6widgets6", "libqt6svg6", "libssl3", "libxcb1", "7zip", "pkexec", "polkitd"})
            QVERIFY2(needed.contains(other), qPrintable(needed));
        QCOMPARE(run("dpkg-deb", {"--field", package, "Recommends"}).printed.trimmed(),
                 QString("ca-certificates, qt6-wayland"));
    }

  private:
    static bool handlesSigterm(qint64 id) {
        QFile status(QString("/proc/%1/status").arg(id));
        if (!status.open(QFile::ReadOnly))
            return false;
        for (const QByteArray &line : status.readAll().split('\n'))
            if (line.startsWith("SigCgt:"))
                return (line.mid(8).toULongLong(nullptr, 16) >> (SIGTERM - 1) & 1) != 0;
        return false;
    }
};

TEST_CLASS(PackageTest, QCoreApplication)
#include "PackageTest.moc"

#include "TestProgram.h"
#include "Waiting.h"

#include <QDir>
#include <QDirIterator>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPainter>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QSvgRenderer>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <csignal>
#include <cstdlib>

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

    /// Into a root folder of its own, with that umask.
    Outcome install(const QString &root, const QString &to, mode_t mask) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DESTDIR", folder.filePath(root));
        const mode_t before = umask(mask);
        const Outcome installed =
            run(FERROLT_CMAKE, {"--install", FERROLT_BUILD, "--prefix", to}, environment);
        umask(before);
        return installed;
    }

    static QStringList filesBelow(const QString &top) {
        QStringList found;
        for (QDirIterator it(top, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
            found << QDir(top).relativeFilePath(it.next());
        found.sort();
        return found;
    }

    static QStringList filesOfAnInstallation() {
        QStringList files = {"bin/ferrolt-miner-launcher",
                             "libexec/ferrolt-miner-launcher/install-libreoffice",
                             "share/applications/ferrolt-miner-launcher.desktop",
                             "share/doc/ferrolt-miner-launcher/README.Debian",
                             "share/doc/ferrolt-miner-launcher/changelog.Debian.gz",
                             "share/doc/ferrolt-miner-launcher/changelog.gz",
                             "share/doc/ferrolt-miner-launcher/copyright",
                             "share/icons/hicolor/scalable/apps/ferrolt-miner-launcher.svg",
                             "share/lintian/overrides/ferrolt-miner-launcher",
                             "share/man/man1/ferrolt-miner-launcher.1.gz",
                             "share/metainfo/" FERROLT_COMPONENT_ID ".metainfo.xml",
                             "share/polkit-1/actions/" FERROLT_REVERSE_DOMAIN ".policy"};
        for (int size : {16, 22, 24, 32, 48, 64, 128, 256})
            files << QString("share/icons/hicolor/%1x%1/apps/ferrolt-miner-launcher.png").arg(size);
        files.sort();
        return files;
    }

  private Q_SLOTS:
    void initTestCase() {
        const Outcome installed = install("root", "/usr", 0);
        QVERIFY2(installed.exitCode == 0, qPrintable(installed.printed));
    }

    void anInstallationIsTheProgramAndWhatTheDesktopShowsOfItAndNothingElse() {
        QCOMPARE(filesBelow(prefix), filesOfAnInstallation());
    }

    void anInstallationStaysBelowItsPrefix() {
        const Outcome installed = install("elsewhere", "/opt/launcher", 022);
        QVERIFY2(installed.exitCode == 0, qPrintable(installed.printed));
        QCOMPARE(filesBelow(folder.filePath("elsewhere/opt/launcher")), filesOfAnInstallation());
        QCOMPARE(filesBelow(folder.filePath("elsewhere")).size(), filesOfAnInstallation().size());
    }

    void everybodyCanReadWhatIsInstalledAndRootAloneCanWriteIt() {
        const Outcome installed = install("strict", "/usr", 077);
        QVERIFY2(installed.exitCode == 0, qPrintable(installed.printed));
        for (const QString &top : {prefix, folder.filePath("strict/usr")})
            for (QDirIterator it(top, QDir::AllEntries | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
                 it.hasNext();) {
                const QString path = it.next();
                struct stat status {};
                QCOMPARE(stat(qPrintable(path), &status), 0);
                const bool isRun =
                    S_ISDIR(status.st_mode) || path.contains("/bin/") || path.contains("/libexec/");
                QVERIFY2((status.st_mode & 07777) == (isRun ? 0755 : 0644), qPrintable(path));
            }
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

    void theIconsOfEverySizeShowTheDrawing() {
        const QString icons = prefix + "share/icons/hicolor/";
        QSvgRenderer drawing(icons + "scalable/apps/ferrolt-miner-launcher.svg");
        QVERIFY(drawing.isValid());
        for (int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
            const QImage icon(icons + QString("%1x%1/apps/ferrolt-miner-launcher.png").arg(size));
            QCOMPARE(icon.size(), QSize(size, size));
            QImage drawn(size, size, QImage::Format_ARGB32_Premultiplied);
            drawn.fill(Qt::transparent);
            QPainter painter(&drawn);
            drawing.render(&painter);
            painter.end();
            // Two libraries draw edges a little differently, but nothing else.
            QVERIFY2(difference(icon.convertToFormat(drawn.format()), drawn) < 3,
                     "tools/render-icons draws the icons again");
        }
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
            run("appstreamcli", {"validate", "--pedantic", "--no-net", "--no-color",
                                 prefix + "share/metainfo/" FERROLT_COMPONENT_ID ".metainfo.xml"});
        QVERIFY2(checked.exitCode == 0, qPrintable(checked.printed));
        QVERIFY2(!checked.printed.contains(QRegularExpression("\\b[EWIP]: ")), qPrintable(checked.printed));
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

    void noPackageIsMadeOfAProgramThatRunsWhatIsInTheBuildersFolders() {
        for (const char *developmentFolder : {FERROLT_BUILD "/practice", "/opt", "/opt/../home/builder"}) {
            const Outcome made = pack(developmentFolder, "refused");
            QVERIFY(made.exitCode != 0);
            QVERIFY2(made.printed.contains("A package must not run programs from"), qPrintable(made.printed));
        }
        QVERIFY(QDir(folder.filePath("refused")).entryList({"*.*deb"}).isEmpty());
    }

    void theDebianPackageHoldsTheSameFilesAndNamesWhatItNeeds() {
        const Outcome made = pack("/opt/ferrolt", "package");
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
    /// As if the build were one with that development folder. Debug symbols in a package take half a minute.
    Outcome pack(const QString &developmentFolder, const QString &to) {
        return run(FERROLT_CPACK,
                   {"-G", "DEB", "--config", FERROLT_BUILD "/CPackConfig.cmake", "-B", folder.filePath(to),
                    "-D", "CPACK_FERROLT_DEVELOPMENT_FOLDER=" + developmentFolder, "-D",
                    "CPACK_FERROLT_DEBUG_SYMBOLS=dropped"});
    }

    /// The mean over all pixels and channels, of 255.
    static double difference(const QImage &one, const QImage &another) {
        double sum = 0;
        for (int y = 0; y < one.height(); ++y)
            for (int i = 0; i < 4 * one.width(); ++i)
                sum += std::abs(one.constScanLine(y)[i] - another.constScanLine(y)[i]);
        return sum / (4.0 * one.width() * one.height());
    }

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

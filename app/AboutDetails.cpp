#include "AboutDetails.h"

#include "PathResolvers.h"
#include "SettingsStore.h"
#include "StateFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>

namespace ferrolt {
namespace {

QString pathText(const std::filesystem::path &path) {
    return QDir::toNativeSeparators(QFile::decodeName(path.c_str()));
}

}  // namespace

QList<AboutDetail> aboutDetails() {
    // The release's date, not the build's: the same source gives the same program.
    const QString build = QStringLiteral(FERROLT_COMPILER ", Qt " QT_VERSION_STR ", " FERROLT_BUILD_TYPE
                                                          ", released " FERROLT_RELEASE_DATE);
    return {{QStringLiteral("Version"), QStringLiteral(FERROLT_VERSION)},
            {QStringLiteral("Build"), build},
            {QStringLiteral("Qt"), QString::fromLatin1(qVersion())},
            {QStringLiteral("Program"), QDir::toNativeSeparators(QCoreApplication::applicationFilePath())},
            {QStringLiteral("Client Folder"), pathText(clientVarFolder())},
            {QStringLiteral("State Folder"), QDir::toNativeSeparators(stateFolder())},
            {QStringLiteral("Settings"), pathText(SettingsStore::ofUser()->path())}};
}

QString plainText(const QList<AboutDetail> &details) {
    QString text = QGuiApplication::applicationDisplayName() + QLatin1Char('\n');
    for (const AboutDetail &detail : details)
        text += detail.label + QStringLiteral(": ") + detail.value + QLatin1Char('\n');
    return text;
}

}  // namespace ferrolt

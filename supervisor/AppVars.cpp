#include "AppVars.h"

#include "FileReplacement.h"
#include "LibreOfficeInstaller.h"
#include "LoadProps.h"
#include "MainQueue.h"
#include "PathResolvers.h"
#include "ReverseDomain.h"
#include "Updater.h"

#include <string>
#include <utility>

namespace ferrolt {

const QString AppVars::homeTab = QStringLiteral("home");
const QString AppVars::settingsTab = QStringLiteral("settings");

const AppVars::Child AppVars::engineChild{QStringLiteral("Lumora Core"), LogTarget::Lumora, &AppVars::_lump,
                                          &AppVars::_isLumRunning, &AppVars::lumObserver};
const AppVars::Child AppVars::clientChild{QStringLiteral("Qor Client"), LogTarget::QorClient,
                                          &AppVars::_qorcp, &AppVars::_isQorClientRunning,
                                          &AppVars::jcObserver};

namespace {

QString initialTab() {
    return LoadProps::isIdentityComplete() ? AppVars::homeTab : AppVars::settingsTab;
}

std::unique_ptr<Updater> newUpdater(const Seams &seams) {
    HttpConfiguration http;
    http.extraAuthorities = seams.extraAuthorities;
    return std::make_unique<Updater>(std::move(http), seams.servers.updateServer);
}

std::unique_ptr<LibreOfficeInstaller> newInstaller(const Seams &seams) {
    usePathRoots(seams.paths);  // before the first path is asked for
    LibreOfficeInstaller::Services services;
    services.server = seams.servers.libreOfficeServer;
    services.http.extraAuthorities = seams.extraAuthorities;
    services.application = libreOfficePath();
    services.temporaryFolder = seams.temporaryFolder;
    services.settings = seams.settings;
    services.tools = seams.tools;
    services.privilegedCopy = seams.privilegedCopy;
    services.workQueue = std::make_shared<WorkQueue>(std::string(reverseDomain) + ".libreoffice-install",
                                                     QualityOfService::Utility);
    return std::make_unique<LibreOfficeInstaller>(std::move(services));
}

}  // namespace

AppVars::AppVars(Seams seams)
    : updater(newUpdater(seams)),
      libreOfficeInstaller(newInstaller(seams)),
      _lump(*this, nullptr),
      _qorcp(*this, nullptr),
      _isLumRunning(*this, false),
      _isQorClientRunning(*this, false),
      _isPermanentlyStopped(*this, false),
      _selectedTab(*this, std::nullopt),
      seams(std::move(seams)) {
    assertMainThread();
    // A launcher that was killed while it saved has left a file that perhaps no other save would remove.
    removeAbandonedReplacements(clientConfigurationPath().parent_path());
    removeAbandonedReplacements(this->seams.settings->path().parent_path());
    _selectedTab.set(initialTab());
    // Holds this object weakly: the connection ends with it.
    cancellable = connect(updater.get(), &Updater::objectWillChange, this, &AppVars::announceChange);
}

AppVars::~AppVars() {
    assertMainThread();
}

void AppVars::appendLog(LogElement text, LogTarget target) {
    std::vector<LogElement> one;
    one.push_back(std::move(text));
    appendLog(std::move(one), target);
}

void AppVars::appendLog(std::vector<LogElement> texts, LogTarget target) {
    assertMainThread();
    std::erase_if(texts, [](const LogElement &text) { return text.isEmpty(); });
    if (texts.empty())
        return;
    const bool isLumora = target == LogTarget::Lumora;
    Q_EMIT objectWillChange(isLumora ? Change::LumoraLog : Change::QorClientLog);
    LogBuffer &buffer = isLumora ? _lumoraLog : _qorClientLog;
    for (LogElement &text : texts) {
        buffer.append(std::move(text));
        // The bound belongs to the rule itself; it equals maxLogLines and must stay so.
        if (buffer.size() >= 1001)
            buffer.takeFirst();
    }
}

static_assert(AppVars::maxLogLines == 1000 && LogThrottle::maxWaiting == 1000);

void AppVars::appendStatusLine(const QString &line, const Child &child) {
    if (const ObserverToken &observer = this->*child.observer)
        observer->handOver();
    appendLog(line.toUtf8(), child.log);
}

void AppVars::selectTab(const QString &tab) {
    assertMainThread();
    Q_ASSERT(tab == homeTab || tab == settingsTab);
    _selectedTab.set(tab);
}

}  // namespace ferrolt

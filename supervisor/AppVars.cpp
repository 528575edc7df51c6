#include "AppVars.h"

#include <utility>

#include "LibreOfficeInstaller.h"
#include "LoadProps.h"
#include "PathResolvers.h"
#include "Updater.h"

namespace ferrolt {

const QString AppVars::homeTab = QStringLiteral("home");
const QString AppVars::settingsTab = QStringLiteral("settings");

AppVars::AppVars(Seams given)
    : updater(std::make_unique<Updater>()),
      libreOfficeInstaller(std::make_unique<LibreOfficeInstaller>()),
      _lump(*this, nullptr),
      _qorcp(*this, nullptr),
      _isLumRunning(*this, false),
      _isQorClientRunning(*this, false),
      _isPermanentlyStopped(*this, false),
      _selectedTab(*this, std::nullopt),
      seams(std::move(given)) {
    usePathRoots(seams.paths);
    const bool complete = !LoadProps::MinerEmailAddress().isEmpty() && !LoadProps::MinerEntityName().isEmpty();
    _selectedTab.set(complete ? homeTab : settingsTab);
}

AppVars::~AppVars() = default;

void AppVars::appendLog(LogElement text, LogTarget buffer) {
    std::vector<LogElement> one;
    one.push_back(std::move(text));
    appendLog(std::move(one), buffer);
}

void AppVars::appendLog(std::vector<LogElement> texts, LogTarget target) {
    std::erase_if(texts, [](const LogElement &text) { return text.isEmpty(); });
    if (texts.empty())
        return;
    announceChange();
    LogBuffer &buffer = target == LogTarget::Lumora ? _lumoraLog : _qorClientLog;
    for (LogElement &text : texts) {
        buffer.append(std::move(text));
        if (buffer.size() >= 1001)
            buffer.removeFirst(buffer.size() - 1000);
    }
}

void AppVars::selectTab(const QString &tab) { _selectedTab.set(tab); }

}  // namespace ferrolt

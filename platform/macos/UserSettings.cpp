#include "ReverseDomain.h"
#include "SettingsStore.h"

#include <QSettings>
#include <QString>
#include <QStringList>

#include <algorithm>

namespace ferrolt {

/// Qt builds the domain of the user's defaults from an organisation's Internet domain, which it turns round,
/// and an application's name.
std::shared_ptr<SettingsStore> SettingsStore::ofUser() {
    QStringList parts = QString::fromUtf8(reverseDomain.data(), static_cast<qsizetype>(reverseDomain.size()))
                            .split(QLatin1Char('.'));
    const QString application = parts.takeLast();
    std::ranges::reverse(parts);
    const QString organisation = parts.join(QLatin1Char('.'));
    return std::shared_ptr<SettingsStore>(new SettingsStore(Opener([organisation, application] {
        return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, organisation,
                                           application);
    })));
}

}  // namespace ferrolt

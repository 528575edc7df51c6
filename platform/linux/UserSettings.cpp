#include "FilePath.h"
#include "ReverseDomain.h"
#include "SettingsStore.h"

#include <QStandardPaths>

#include <string>

namespace ferrolt {

std::shared_ptr<SettingsStore> SettingsStore::ofUser() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return std::make_shared<SettingsStore>(pathOf(folder) / (std::string(reverseDomain) + ".json"));
}

}  // namespace ferrolt

#include "ReverseDomain.h"
#include "SettingsStore.h"

#include <QFile>
#include <QStandardPaths>

#include <string>

namespace ferrolt {

std::shared_ptr<SettingsStore> SettingsStore::ofUser() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return std::make_shared<SettingsStore>(std::filesystem::path(QFile::encodeName(folder).toStdString()) /
                                           (std::string(reverseDomain) + ".json"));
}

}  // namespace ferrolt

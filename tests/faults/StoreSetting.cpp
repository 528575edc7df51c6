#include "Operations.h"
#include "SettingsStore.h"

namespace ferrolt {

Operation storeSetting(const std::filesystem::path &folder) {
    return [store = SettingsStore(folder / "config/settings.json")]() mutable {
        const bool isStored =
            store.setText(QStringLiteral("InstalledLibreOfficeVersion"), QStringLiteral("26.2.4"));
        return std::string(isStored ? "saved" : "failed");
    };
}

}  // namespace ferrolt

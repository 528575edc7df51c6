#include "SettingsStore.h"

#include "JsonFile.h"
#include "MainQueue.h"

#include <utility>

namespace ferrolt {

SettingsStore::SettingsStore(std::filesystem::path file) : file(std::move(file)) {}

std::optional<QString> SettingsStore::text(const QString &key) const {
    assertMainThread();
    const QJsonValue value = JsonFile::read(file).value_or(QJsonObject()).value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

bool SettingsStore::setText(const QString &key, const QString &value) {
    assertMainThread();
    std::optional<QJsonObject> entries = JsonFile::read(file);
    if (!entries)
        return false;
    entries->insert(key, value);
    return JsonFile::write(file, *entries);
}

}  // namespace ferrolt

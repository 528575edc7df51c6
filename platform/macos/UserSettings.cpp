#include "FilePath.h"
#include "ReverseDomain.h"
#include "SettingsStore.h"

#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <algorithm>

namespace ferrolt {

namespace {

class UserDefaults : public SettingsStore {
  public:
    UserDefaults(const QString &organisation, const QString &application)
        : SettingsStore(std::filesystem::path()),
          settings(QSettings::NativeFormat, QSettings::UserScope, organisation, application) {}

    std::filesystem::path path() const override { return pathOf(settings.fileName()); }

    std::optional<QString> text(const QString &key) const override {
        const QVariant value = settings.value(key);
        if (value.typeId() != QMetaType::QString)
            return std::nullopt;
        return value.toString();
    }

    bool setText(const QString &key, const QString &value) override {
        const QVariant before = settings.value(key);
        // QSettings stores a null string as no value.
        settings.setValue(key, value.isNull() ? QStringLiteral("") : value);
        settings.sync();
        if (settings.status() == QSettings::NoError)
            return true;
        // QSettings keeps a value that it could not write, returns it to later reads and tries to write it
        // again.
        if (before.isValid())
            settings.setValue(key, before);
        else
            settings.remove(key);
        return false;
    }

  private:
    QSettings settings;
};

}  // namespace

/// QSettings makes the domain of the defaults from the organisation's Internet domain, reversed, and the
/// application's name.
std::shared_ptr<SettingsStore> SettingsStore::ofUser() {
    QStringList parts = QString::fromUtf8(reverseDomain.data(), static_cast<qsizetype>(reverseDomain.size()))
                            .split(QLatin1Char('.'));
    const QString application = parts.takeLast();
    std::ranges::reverse(parts);
    return std::make_shared<UserDefaults>(parts.join(QLatin1Char('.')), application);
}

}  // namespace ferrolt

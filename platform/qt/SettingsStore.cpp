#include "SettingsStore.h"

#include <QFile>
#include <QIODevice>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QVariant>

#include <cstdint>
#include <system_error>
#include <utility>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

/// Our file has one line. One of this size is not ours, and must not cost the start of the program its time.
constexpr std::uintmax_t largestFile = 1024 * 1024;

/// A pipe in the file's place would block its reader, and a folder cannot be replaced.
bool isUsable(const fs::path &file) {
    std::error_code failure;
    const auto status = fs::status(file, failure);
    if (status.type() == fs::file_type::not_found)
        return true;
    if (!fs::is_regular_file(status))
        return false;
    const auto size = fs::file_size(file, failure);
    return !failure && size <= largestFile;
}

bool read(QIODevice &device, QSettings::SettingsMap &map) {
    map = QJsonDocument::fromJson(device.readAll()).object().toVariantMap();
    return true;  // what is no JSON object has no entries
}

bool write(QIODevice &device, const QSettings::SettingsMap &map) {
    const QByteArray text = QJsonDocument(QJsonObject::fromVariantMap(map)).toJson();
    return device.write(text) == text.size();
}

/// Qt's own INI format builds whatever object a value describes, and a damaged line may describe one of 64
/// GiB.
QSettings::Format jsonFormat() {
    static const QSettings::Format format =
        QSettings::registerFormat(QStringLiteral("json"), read, write, Qt::CaseSensitive);
    return format;
}

std::unique_ptr<QSettings> openFile(const fs::path &file) {
    if (!isUsable(file))
        return nullptr;
    std::error_code failure;
    fs::create_directories(file.parent_path(), failure);
    return std::make_unique<QSettings>(QFile::decodeName(file.c_str()), jsonFormat());
}

}  // namespace

SettingsStore::SettingsStore(fs::path file)
    : SettingsStore([file = std::move(file)] { return openFile(file); }) {}

SettingsStore::SettingsStore(Opener open) : open(std::move(open)) {}

std::optional<QString> SettingsStore::text(const QString &key) const {
    const auto settings = open();
    if (settings == nullptr)
        return std::nullopt;
    const QVariant value = settings->value(key);
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}

bool SettingsStore::setText(const QString &key, const QString &value) {
    const auto settings = open();
    if (settings == nullptr)
        return false;
    const QVariant before = settings->value(key);
    // A null text would be stored as no value at all.
    settings->setValue(key, value.isNull() ? QStringLiteral("") : value);
    settings->sync();
    if (settings->status() == QSettings::NoError)
        return true;
    // Qt keeps what it could not write, for every later reader of this process and for its next try.
    if (before.isValid())
        settings->setValue(key, before);
    else
        settings->remove(key);
    return false;
}

}  // namespace ferrolt

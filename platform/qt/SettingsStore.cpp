#include "SettingsStore.h"

#include "FileReplacement.h"
#include "MainQueue.h"

#include <QByteArray>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

/// Our file has one line. A larger one is not ours, and reading it would delay the start.
constexpr std::uintmax_t maxFileSize = 1024 * 1024;

/// Nothing if the file cannot be read or is no regular file (opening a pipe would block). No entries if there
/// is no file or it is no JSON object.
std::optional<QJsonObject> entriesOf(const fs::path &file) {
    std::error_code failure;
    const auto status = fs::status(file, failure);
    if (status.type() == fs::file_type::not_found)
        return QJsonObject();
    if (!fs::is_regular_file(status) || fs::file_size(file, failure) > maxFileSize)
        return std::nullopt;
    QFile opened(QFile::decodeName(file.c_str()));
    if (!opened.open(QIODevice::ReadOnly))
        return std::nullopt;
    return QJsonDocument::fromJson(opened.read(qint64{maxFileSize})).object();
}

}  // namespace

SettingsStore::SettingsStore(fs::path file) : file(std::move(file)) {}

std::optional<QString> SettingsStore::text(const QString &key) const {
    assertMainThread();
    const QJsonValue value = entriesOf(file).value_or(QJsonObject()).value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

bool SettingsStore::setText(const QString &key, const QString &value) {
    assertMainThread();
    std::optional<QJsonObject> entries = entriesOf(file);
    if (!entries)
        return false;
    entries->insert(key, value);
    const QByteArray text = QJsonDocument(*entries).toJson();
    if (static_cast<std::uintmax_t>(text.size()) > maxFileSize)
        return false;
    std::error_code failure;
    fs::create_directories(file.parent_path(), failure);
    return replaceFile(file, std::string_view(text.constData(), static_cast<std::size_t>(text.size())));
}

}  // namespace ferrolt

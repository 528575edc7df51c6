#include "JsonFile.h"

#include "FileReplacement.h"

#include <QByteArray>
#include <QFile>
#include <QJsonDocument>

#include <cstddef>
#include <cstdint>
#include <system_error>

namespace ferrolt {

namespace fs = std::filesystem;

static constexpr std::uintmax_t maxFileSize = 1024 * 1024;

std::optional<QJsonObject> JsonFile::read(const fs::path &file) {
    std::error_code failure;
    const auto status = fs::status(file, failure);
    if (status.type() == fs::file_type::not_found)
        return QJsonObject();
    if (!fs::is_regular_file(status) || fs::file_size(file, failure) > maxFileSize)
        return std::nullopt;
    QFile opened(QFile::decodeName(file.c_str()));
    if (!opened.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray text = opened.read(qint64{maxFileSize});
    if (opened.error() != QFileDevice::NoError)
        return std::nullopt;
    return QJsonDocument::fromJson(text).object();
}

bool JsonFile::write(const fs::path &file, const QJsonObject &object) {
    const QByteArray text = QJsonDocument(object).toJson();
    const auto size = static_cast<std::size_t>(text.size());
    if (size > maxFileSize)
        return false;
    std::error_code failure;
    fs::create_directories(file.parent_path(), failure);
    return replaceFile(file, {text.constData(), size});
}

}  // namespace ferrolt

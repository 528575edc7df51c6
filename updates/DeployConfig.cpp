#include "DeployConfig.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <utility>

namespace ferrolt {

namespace {

/// Outer std::nullopt: a decode error. Inner std::nullopt: the value is absent.
template <class Value>
using Decoded = std::optional<std::optional<Value>>;

bool isAbsent(const QJsonValue &value) {
    return value.isUndefined() || value.isNull();
}

Decoded<std::int64_t> wholeNumber(const QJsonValue &value) {
    if (isAbsent(value))
        return std::optional<std::int64_t>();
    // toInteger() returns its default for anything but a 64-bit integer. No number equals two defaults.
    const std::int64_t number = value.toInteger(0);
    if (number != value.toInteger(1))
        return std::nullopt;
    return number;
}

/// In UTF-16 code units. Real versions have less than ten; the text goes into the settings and the log.
constexpr qsizetype maxVersionLength = 64;

Decoded<QString> versionText(const QJsonValue &value) {
    if (isAbsent(value))
        return std::optional<QString>();
    const QString string = value.toString();
    // Qt accepts an unpaired surrogate, written as \uD800.
    if (!value.isString() || !string.isValidUtf16() || string.size() > maxVersionLength)
        return std::nullopt;
    return string;
}

}  // namespace

DeployConfig::DeployConfig(std::optional<std::int64_t> checkUpdateInterval,
                           std::optional<QString> libreofficeversion)
    : checkUpdateInterval(checkUpdateInterval), libreofficeversion(std::move(libreofficeversion)) {}

std::optional<DeployConfig> DeployConfig::decode(const QByteArray &body) {
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject manifest = document.object();
    const auto interval = wholeNumber(manifest.value(QLatin1String("checkUpdateInterval")));
    const auto version = versionText(manifest.value(QLatin1String("libreofficeversion")));
    if (!interval || !version)
        return std::nullopt;
    return DeployConfig(*interval, *version);
}

}  // namespace ferrolt

#include "DeployConfig.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <utility>

namespace ferrolt {

namespace {

/// An optional value: nothing in the outer layer is a decode error, nothing in the inner one an absent value.
template <class Value>
using Decoded = std::optional<std::optional<Value>>;

bool isAbsent(const QJsonValue &value) {
    return value.isUndefined() || value.isNull();
}

Decoded<std::int64_t> wholeNumber(const QJsonValue &value) {
    if (isAbsent(value))
        return std::optional<std::int64_t>();
    // Qt gives the default for whatever is no whole number of 64 bits; two defaults tell it from a number.
    const std::int64_t number = value.toInteger(0);
    if (number != value.toInteger(1))
        return std::nullopt;
    return number;
}

/// The max length of a version, in UTF-16 code units. Real ones have less than ten; a long one would be
/// written into the settings and into log lines.
constexpr qsizetype maxVersionLength = 64;

Decoded<QString> versionText(const QJsonValue &value) {
    if (isAbsent(value))
        return std::optional<QString>();
    const QString string = value.toString();
    // Half of a character that is written as \uD800 is let through by Qt, and is no text.
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

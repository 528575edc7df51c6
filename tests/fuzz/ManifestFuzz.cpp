#include "DeployConfig.h"
#include "Expect.h"
#include "PlainJson.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

using namespace ferrolt;

namespace {

using Type = PlainJson::Value::Type;

/// The number in 64 bits; nothing if it has a fraction or does not fit.
std::optional<qlonglong> wholeNumber(const QByteArray &number) {
    bool isWhole = false;
    const qlonglong integer = number.toLongLong(&isWhole);
    if (isWhole)
        return integer;
    const double real = number.toDouble();
    if (std::trunc(real) != real || real < -0x1p63 || real >= 0x1p63)
        return std::nullopt;
    return static_cast<qlonglong>(real);
}

/// Whether it has no unpaired surrogate, which UTF-8 cannot hold.
bool isWellFormed(const QString &text) {
    return QString::fromUtf8("\xEF\xBB\xBF" + text.toUtf8()) == text;
}

/// What DeployConfig::decode() makes of an object that QJsonDocument would also find in strict JSON.
void compare(const std::optional<DeployConfig> &manifest, const QMap<QString, PlainJson::Value> &members) {
    const PlainJson::Value absent{Type::Null, {}, {}};
    const auto interval = members.value(QStringLiteral("checkUpdateInterval"), absent);
    const auto version = members.value(QStringLiteral("libreofficeversion"), absent);
    // Qt drops a U+FEFF that a string begins with, unless it is written as an escape.
    if (version.string.startsWith(QChar(0xFEFF)))
        return;
    const auto hours = interval.type == Type::Number ? wholeNumber(interval.number) : std::nullopt;
    const bool isGoodInterval = interval.type == Type::Null || hours;
    const bool isGoodVersion =
        version.type == Type::Null ||
        (version.type == Type::String && version.string.size() <= 64 && isWellFormed(version.string));
    expect(manifest.has_value() == (isGoodInterval && isGoodVersion));
    if (!manifest)
        return;
    expect(manifest->checkUpdateInterval == hours);
    expect(manifest->libreofficeversion.has_value() == (version.type == Type::String));
    expect(manifest->libreofficeversion.value_or(QString()) == version.string);
}

/// A value as QJsonDocument has read it.
PlainJson::Value valueFrom(const QJsonValue &value) {
    switch (value.type()) {
        case QJsonValue::Undefined:
        case QJsonValue::Null:
            return {Type::Null, {}, {}};
        case QJsonValue::String:
            return {Type::String, {}, value.toString()};
        case QJsonValue::Double:
            // An integer, if that is what Qt has read, else with all digits that a double has.
            return {Type::Number,
                    value.toVariant().typeId() == QMetaType::LongLong
                        ? QByteArray::number(value.toInteger())
                        : QByteArray::number(value.toDouble(), 'g', 17),
                    {}};
        default:
            return {};
    }
}

}  // namespace

/// Decodes a manifest, and compares with a plain JSON reader. QJsonDocument also reads some documents that
/// are no JSON; of these the reader knows nothing, and only what holds for every manifest is checked.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray body(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto manifest = DeployConfig::decode(body);
    if (const auto members = PlainJson::object(body)) {
        compare(manifest, *members);
        return 0;
    }
    if (!manifest)
        return 0;
    const QJsonDocument document = QJsonDocument::fromJson(body);
    expect(document.isObject());
    QMap<QString, PlainJson::Value> read;
    for (const QString &key : {QStringLiteral("checkUpdateInterval"), QStringLiteral("libreofficeversion")})
        read[key] = valueFrom(document.object().value(key));
    compare(manifest, read);
    return 0;
}

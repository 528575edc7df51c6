#include "LoadProps.h"

#include "MainQueue.h"
#include "PathResolvers.h"
#include "PropertiesEntry.h"
#include "TextFile.h"
#include "TextLines.h"
#include "Utf16.h"

#include <string>
#include <string_view>

namespace ferrolt {

std::optional<QString> LoadProps::value(const QString &key) {
    assertMainThread();
    const TextFile file = TextFile::read(clientConfigurationPath());
    if (file.state != TextFile::State::Read)
        return std::nullopt;
    const std::string wanted = key.toStdString();
    TextLines lines(file.text);
    while (const auto line = lines.next()) {
        if (!line->starts_with(wanted))
            continue;
        if (const auto entry = PropertiesEntry::parse(*line))
            return utf16Of(entry->value);
    }
    return std::nullopt;
}

QString LoadProps::MinerEmailAddress() {
    return value(QStringLiteral("MinerEmailAddress")).value_or(QString());
}
QString LoadProps::MinerEntityName() {
    return value(QStringLiteral("MinerEntityName")).value_or(QString());
}
QString LoadProps::MinerDisplayName() {
    return value(QStringLiteral("MinerDisplayName")).value_or(QString());
}

bool LoadProps::isIdentityComplete() {
    return !MinerEmailAddress().isEmpty() && !MinerEntityName().isEmpty();
}

}  // namespace ferrolt

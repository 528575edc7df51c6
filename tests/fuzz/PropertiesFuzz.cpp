#include "EnginePort.h"
#include "Expect.h"
#include "LoadProps.h"
#include "PlainProperties.h"
#include "PropertiesHome.h"

#include <cstddef>
#include <cstdint>

using namespace ferrolt;

/// Reads the same bytes as the client's and as the engine's properties file, by the rules of both, and
/// compares with the plain rules. The first byte is the encoding, as encodedFile() says.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const PropertiesHome home;
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QByteArray file = encodedFile(input.isEmpty() ? '\0' : input.front(), input.mid(1));
    PropertiesHome::write(clientConfigurationPath(), file);
    PropertiesHome::write(localPropertiesPath(), file);

    const auto text = plain::textOf(file);
    const QStringList lines = text ? plain::linesOf(*text) : QStringList();
    for (const QString &key : plain::identityKeys + QStringList{QString(), QStringLiteral("Miner")})
        expect(LoadProps::value(key) == plain::value(lines, key));
    const QString email = plain::value(lines, plain::identityKeys[0]).value_or(QString());
    const QString entity = plain::value(lines, plain::identityKeys[1]).value_or(QString());
    expect(LoadProps::MinerEmailAddress() == email && LoadProps::MinerEntityName() == entity);
    expect(LoadProps::MinerDisplayName() == plain::value(lines, plain::identityKeys[2]).value_or(QString()));
    expect(LoadProps::isIdentityComplete() == (!email.isEmpty() && !entity.isEmpty()));
    expect(readEnginePort() == plain::enginePort(lines));
    return 0;
}

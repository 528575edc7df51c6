#include "ClientConfigurationTemplate.h"
#include "Expect.h"
#include "LoadProps.h"
#include "PlainProperties.h"
#include "PropertiesHome.h"
#include "SaveProps.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>

using namespace ferrolt;

namespace {

void save(const QStringList &values) {
    SaveProps::save(values[0], values[1], values[2]);
    expect(PropertiesHome::names(clientVarFolder()) == QStringList{QStringLiteral("MinerClient.properties")});
}

/// What a user expects of a save, whatever the file was.
void checkPromises(const QStringList &before, const QByteArray &file, const QStringList &values) {
    const auto text = plain::textOf(file);
    expect(text.has_value());
    expect(plain::linesWithoutIdentity(plain::linesOf(*text)) == plain::linesWithoutIdentity(before));
    const QStringList read{LoadProps::MinerEmailAddress(), LoadProps::MinerEntityName(),
                           LoadProps::MinerDisplayName()};
    for (qsizetype i = 0; i < values.size(); ++i)
        expect(read[i] == plain::trimmed(values[i].split(QLatin1Char('=')).first()));
    save(values);
    expect(PropertiesHome::read(clientConfigurationPath()) == file);
}

}  // namespace

/// Saves an identity into a file, and compares the file with what the plain rules make of it. The input: a
/// byte for the file's encoding, as encodedFile() says; the three values, each ended by a NUL; the text of
/// the file. Without a third NUL there is no file yet.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const PropertiesHome home;
    QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const char encoding = input.isEmpty() ? '\0' : input.front();
    input.remove(0, 1);
    QStringList values;
    bool hasFile = true;
    while (values.size() < 3) {
        const qsizetype end = input.indexOf('\0');
        hasFile = end >= 0;
        values += QString::fromUtf8(input.left(end));
        input = hasFile ? input.mid(end + 1) : QByteArray();
    }

    const QByteArray file = encodedFile(encoding, input);
    if (hasFile)
        PropertiesHome::write(clientConfigurationPath(), file);
    else
        std::filesystem::remove(clientConfigurationPath());
    const auto text = hasFile ? plain::textOf(file)
                              : QString::fromStdString(clientConfigurationTemplate("nodes.test.example"));
    save(values);
    const QByteArray savedFile = PropertiesHome::read(clientConfigurationPath());
    if (!text) {
        expect(savedFile == file);
        return 0;
    }
    const QStringList lines = plain::linesOf(*text);
    expect(savedFile == plain::fileWith(plain::saved(lines, values)));
    // A newline in a value, which the form's fields do not accept, makes lines of its own.
    if (plain::isOneLine(values[0]) && plain::isOneLine(values[1]) && plain::isOneLine(values[2]))
        checkPromises(lines, savedFile, values);
    return 0;
}

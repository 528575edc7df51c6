#include "SaveProps.h"

#include "ClientConfigurationTemplate.h"
#include "FileReplacement.h"
#include "PathResolvers.h"
#include "TextFile.h"
#include "TextLines.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace ferrolt {

namespace {

struct IdentityLine {
    std::string_view key;
    std::string text;
    bool isPresent = false;
};

std::string rewritten(std::string_view current, std::array<IdentityLine, 3> identity) {
    std::string output;
    output.reserve(current.size() + 256);
    bool isFirst = true;
    bool isLastLineEmpty = false;
    TextLines lines(current);
    while (const auto line = lines.next()) {
        std::string_view written = *line;
        // The same rule as LoadProps::value(): each line that it could read as the key's entry is replaced,
        // duplicates too.
        const auto match = std::find_if(identity.begin(), identity.end(), [&](const auto &candidate) {
            return line->starts_with(candidate.key);
        });
        if (match != identity.end()) {
            match->isPresent = true;
            written = match->text;
        }
        if (!isFirst)
            output += '\n';
        output += written;
        isFirst = false;
        isLastLineEmpty = written.empty();
    }
    for (const IdentityLine &line : identity) {
        if (line.isPresent)
            continue;
        // Keeps the final newline of a file that had one.
        if (isLastLineEmpty)
            output.append(line.text).append("\n");
        else
            output.append("\n").append(line.text);
    }
    return output;
}

}  // namespace

void SaveProps::save(const QString &emailAddress, const QString &entityName, const QString &displayName) {
    const std::filesystem::path path = clientConfigurationPath();
    std::error_code failure;
    std::filesystem::create_directories(path.parent_path(), failure);
    if (failure)
        return;
    TextFile file = TextFile::read(path);
    if (file.state == TextFile::State::Unreadable)
        return;
    if (file.state == TextFile::State::Absent)
        file.text = clientConfigurationTemplate(pathRoots().nodeServerHost);
    std::string output = rewritten(
        file.text, {{{"MinerEmailAddress", "MinerEmailAddress       = " + emailAddress.toStdString()},
                     {"MinerEntityName", "MinerEntityName         = " + entityName.toStdString()},
                     {"MinerDisplayName", "MinerDisplayName        = " + displayName.toStdString()}}});
    // The next reader would take a U+FEFF that the first line begins with for a byte-order mark, and what
    // follows it for an entry. A mark of its own keeps it text.
    if (output.starts_with("\xEF\xBB\xBF"))
        output.insert(0, "\xEF\xBB\xBF");
    // A file above this size could not be read, nor saved, again.
    if (output.size() <= TextFile::maxSize)
        static_cast<void>(replaceFile(path, output));
}

}  // namespace ferrolt

#include "AutostartEntry.h"

#include "FilePath.h"
#include "FileReplacement.h"
#include "MainQueue.h"
#include "RunningProgram.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QHash>
#include <QStandardPaths>

#include <string_view>
#include <system_error>
#include <utility>

namespace ferrolt {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view programName = "ferrolt-miner-launcher";
constexpr std::string_view fileName = "ferrolt-miner-launcher.desktop";
constexpr std::uintmax_t maxEntrySize = 64 * 1024;  // entries have a few hundred bytes

/// The keys of the group "Desktop Entry". Values stay as they are in the file.
using Keys = QHash<QByteArray, QByteArray>;

Keys keysOf(const QByteArray &text) {
    Keys keys;
    bool isInGroup = false;
    for (const QByteArray &line : text.split('\n')) {
        const qsizetype sign = line.indexOf('=');
        if (line.startsWith('['))
            isInGroup = line.trimmed() == "[Desktop Entry]";
        else if (isInGroup && sign > 0 && !line.startsWith('#'))
            keys.insert(line.left(sign).trimmed(), line.mid(sign + 1).trimmed());
    }
    return keys;
}

QString shown(const fs::path &path) {
    return QStringLiteral("“%1”").arg(QFile::decodeName(path.c_str()));
}

QString reason(const std::error_code &failure) {
    return QString::fromLocal8Bit(failure.message().c_str());
}

QByteArray bytesOf(std::string_view text) {
    return {text.data(), static_cast<qsizetype>(text.size())};
}

/// The program's name is kept in the entry where it is found by that in every session, as in the entry of the
/// applications menu: a package may move the program. A path in a home folder is not in every session's PATH.
fs::path commandOf(const fs::path &executable) {
    for (const char *folder : {"/usr/local/bin", "/usr/bin"})
        if (executable.parent_path() == folder && executable.filename() == programName)
            return programName;
    return executable;
}

}  // namespace

AutostartEntry::AutostartEntry(fs::path command, std::vector<fs::path> folders)
    : command(std::move(command)), folders(std::move(folders)) {
    assertMainThread();
    Q_ASSERT(!this->folders.empty());
}

std::optional<QByteArray> AutostartEntry::execValue(const fs::path &command) {
    const QByteArray path = bytesOf(command.native());
    if (QString::fromUtf8(path).toUtf8() != path)
        return std::nullopt;
    QByteArray argument;
    bool isPlain = true;
    for (const char byte : path) {
        if (byte == '=' || (byte >= '\0' && byte < ' '))
            return std::nullopt;
        isPlain = isPlain && !QByteArrayView(" \"'\\><~|&;$*?#()`").contains(byte);
        if (QByteArrayView("\"`$\\").contains(byte))
            argument += '\\';
        argument += byte == '%' ? QByteArray("%%") : QByteArray(1, byte);
    }
    if (!isPlain)
        argument = '"' + argument + '"';
    // Values of this type are escaped once more as a whole.
    return argument.replace('\\', "\\\\");
}

AutostartEntry::Found AutostartEntry::find(const fs::path &folder) const {
    const fs::path entry = folder / fileName;
    std::error_code failure;
    const fs::file_status status = fs::status(entry, failure);
    // What cannot be looked at cannot be written either; the attempt gives the reason.
    if (status.type() == fs::file_type::not_found || status.type() == fs::file_type::none)
        return Found::Nothing;
    // Opening a pipe would block.
    if (!fs::is_regular_file(status) || fs::file_size(entry, failure) > maxEntrySize)
        return Found::Foreign;
    QFile file(QFile::decodeName(entry.c_str()));
    if (!file.open(QIODevice::ReadOnly))
        return Found::Foreign;
    const QByteArray text = file.read(qint64{maxEntrySize});
    const Keys keys = keysOf(text);

    const auto isTrue = [&](const char *key) { return keys.value(key) == "true"; };
    const QByteArray exec = keys.value("Exec");
    if (exec.isEmpty())  // some desktops disable an entry by a file that has only "Hidden"
        return isTrue("Hidden") || text.trimmed().isEmpty() ? Found::Disabled : Found::Foreign;
    if (exec == execValue(command)) {
        const bool isDisabled = isTrue("Hidden") || keys.value("X-GNOME-Autostart-enabled") == "false";
        return isDisabled ? Found::Disabled : Found::Enabled;
    }
    const fs::path other(keys.value("TryExec").toStdString());
    const bool startsAnotherCopy = other.filename() == programName && exec == execValue(other);
    return startsAnotherCopy ? Found::Disabled : Found::Foreign;
}

AutostartEntry::Found AutostartEntry::findFirst() const {
    for (const fs::path &folder : folders)
        if (const Found found = find(folder); found != Found::Nothing)
            return found;
    return Found::Nothing;
}

LoginItem::State AutostartEntry::state() const {
    assertMainThread();
    return findFirst() == Found::Enabled ? State::On : State::Off;
}

std::optional<QString> AutostartEntry::set(State wanted) {
    if (state() == wanted)
        return std::nullopt;
    if (wanted == State::On)
        return write(Visibility::Shown);
    for (std::size_t i = 1; i < folders.size(); ++i)
        if (find(folders[i]) != Found::Nothing)
            return write(Visibility::Hidden);
    std::error_code failure;
    const fs::path entry = folders.front() / fileName;
    if (fs::remove(entry, failure); failure)
        return QStringLiteral("%1 could not be removed: %2.").arg(shown(entry), reason(failure));
    return std::nullopt;
}

std::optional<QString> AutostartEntry::write(Visibility visibility) const {
    const fs::path &folder = folders.front();
    const fs::path entry = folder / fileName;
    if (find(folder) == Found::Foreign)
        return QStringLiteral("%1 was not written by this program, and is left as it is.").arg(shown(entry));
    const auto exec = execValue(command);
    if (!exec)
        return QStringLiteral("The path of this program, %1, cannot be written into %2.")
            .arg(shown(command), shown(entry));
    const QByteArray tryExec = bytesOf(command.native()).replace('\\', "\\\\");
    const QByteArray text =
        "[Desktop Entry]\n"
        "Type=Application\n"
        "Version=1.4\n"
        "Name=Ferrolt Miner Launcher\n"
        "Comment=Keep a mining node's media engine and its miner running\n"
        "Exec=" +
        *exec +
        "\n"
        "TryExec=" +
        tryExec +
        "\n"
        "Icon=ferrolt-miner-launcher\n"
        "Terminal=false\n"
        "StartupNotify=false\n" +
        (visibility == Visibility::Hidden ? "Hidden=true\n" : "X-GNOME-Autostart-enabled=true\n");
    std::error_code failure;
    if (fs::is_symlink(folder, failure) && !fs::exists(folder, failure))
        return QStringLiteral("The folder %1 is a link that leads nowhere.").arg(shown(folder));
    fs::create_directories(folder, failure);
    if (failure || !replaceFile(entry, {text.constData(), static_cast<std::size_t>(text.size())}, failure))
        return QStringLiteral("%1 could not be written: %2.").arg(shown(entry), reason(failure));
    return std::nullopt;
}

std::unique_ptr<LoginItem> LoginItem::ofUser() {
    std::vector<fs::path> folders;
    for (const QString &base : QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation))
        folders.push_back(pathOf(base) / "autostart");
    return std::make_unique<AutostartEntry>(commandOf(runningProgram()), std::move(folders));
}

}  // namespace ferrolt

#include "TextFile.h"

#include "FileDescriptor.h"

#include <QByteArrayView>
#include <QString>
#include <QStringView>
#include <QtEndian>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace {

using namespace std::string_view_literals;

bool isRegular(const struct stat &status) {
    return S_ISREG(status.st_mode);
}

/// Nothing on failure, or if the file is larger than the maximum.
std::optional<std::string> readToEnd(int descriptor, std::size_t expectedSize) {
    if (expectedSize > TextFile::maxSize)
        return std::nullopt;
    // One byte more than expected, so that read() can report the end of the file without a larger buffer.
    std::string bytes(expectedSize + 1, '\0');
    std::size_t filled = 0;
    for (;;) {
        const ssize_t count = ::read(descriptor, bytes.data() + filled, bytes.size() - filled);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
        if (filled > TextFile::maxSize)
            return std::nullopt;
        if (filled == bytes.size())  // the file grows meanwhile, or has no size, like those in /proc
            bytes.resize(std::clamp(bytes.size() * 2, std::size_t{4096}, TextFile::maxSize + 1));
    }
    bytes.resize(filled);
    return bytes;
}

template <class FromByteOrder>
bool convertToUtf8(std::string &utf16, FromByteOrder fromByteOrder) {
    const std::string_view units = std::string_view(utf16).substr(2);
    if (units.size() % sizeof(char16_t) != 0)
        return false;
    const auto length = static_cast<qsizetype>(units.size() / sizeof(char16_t));
    QString text(length, Qt::Uninitialized);
    fromByteOrder(units.data(), length, text.data());
    if (!text.isValidUtf16())
        return false;
    utf16 = text.toUtf8().toStdString();
    return true;
}

/// Converts a file's bytes to UTF-8 in place. False if they are malformed.
bool decode(std::string &bytes) {
    if (bytes.starts_with("\xFF\xFE\0\0"sv))
        return false;  // UTF-32, and not UTF-16 that starts with NUL
    if (bytes.starts_with("\xFF\xFE"sv))
        return convertToUtf8(bytes, [](const char *source, qsizetype length, QChar *target) {
            qFromLittleEndian<char16_t>(source, length, target);
        });
    if (bytes.starts_with("\xFE\xFF"sv))
        return convertToUtf8(bytes, [](const char *source, qsizetype length, QChar *target) {
            qFromBigEndian<char16_t>(source, length, target);
        });
    if (!QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())).isValidUtf8())
        return false;
    if (bytes.starts_with("\xEF\xBB\xBF"sv))
        bytes.erase(0, 3);
    return true;
}

TextFile failed() {
    return {errno == ENOENT ? TextFile::State::Absent : TextFile::State::Unreadable, {}};
}

}  // namespace

TextFile TextFile::read(const std::filesystem::path &path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        return failed();
    if (!isRegular(status))
        return {State::Unreadable, {}};
    // Another file may have replaced it since stat(): open without blocking, and check again.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.isValid())
        return failed();
    if (::fstat(file.get(), &status) != 0 || !isRegular(status))
        return {State::Unreadable, {}};
    auto text = readToEnd(file.get(), static_cast<std::size_t>(status.st_size));
    if (!text || !decode(*text))
        return {State::Unreadable, {}};
    return {State::Read, *std::move(text)};
}

}  // namespace ferrolt

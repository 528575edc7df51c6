#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

/// The rules of properties files once more, in the plainest way: a whole file as UTF-16, cut into lists.
namespace ferrolt::plain {

inline bool isWellFormed(const QString &text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isFirst = text[i].isHighSurrogate();
        if (isFirst ? i + 1 == text.size() || !text[i + 1].isLowSurrogate() : text[i].isLowSurrogate())
            return false;
        if (isFirst)
            ++i;
    }
    return true;
}

/// Nothing if a file with these bytes is unreadable.
inline std::optional<QString> textOf(const QByteArray &file) {
    const bool isLittle = file.startsWith("\xFF\xFE");
    if (isLittle || file.startsWith("\xFE\xFF")) {
        if (file.size() % 2 != 0 || file.startsWith(QByteArrayLiteral("\xFF\xFE\0\0")))
            return std::nullopt;
        QString text;
        for (qsizetype i = 2; i < file.size(); i += 2) {
            const QByteArray unit = file.mid(i, 2);
            text +=
                QChar(static_cast<uchar>(unit[isLittle ? 0 : 1]), static_cast<uchar>(unit[isLittle ? 1 : 0]));
        }
        return isWellFormed(text) ? std::optional(text) : std::nullopt;
    }
    const QByteArray withoutMark = file.startsWith("\xEF\xBB\xBF") ? file.mid(3) : file;
    // Malformed UTF-8 becomes U+FFFD, which is written differently.
    const QString text = QString::fromUtf8("\xEF\xBB\xBF" + withoutMark);
    return text.toUtf8() == withoutMark ? std::optional(text) : std::nullopt;
}

inline QStringList linesOf(QString text) {
    for (const QChar newline : QStringLiteral("\v\f\r\u0085\u2028\u2029"))
        text.replace(newline, QLatin1Char('\n'));
    return text.split(QLatin1Char('\n'));
}

inline bool isOneLine(const QString &text) {
    return linesOf(text).size() == 1;
}

inline QString trimmed(QString text) {
    const auto isBlank = [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); };
    while (!text.isEmpty() && isBlank(text.front()))
        text.remove(0, 1);
    while (!text.isEmpty() && isBlank(text.back()))
        text.chop(1);
    return text;
}

/// What LoadProps::value() reads.
inline std::optional<QString> value(const QStringList &lines, const QString &key) {
    for (const QString &line : lines) {
        const QStringList pieces = line.split(QLatin1Char('='));
        if (line.startsWith(key) && pieces.size() > 1)
            return trimmed(pieces[1]);
    }
    return std::nullopt;
}

/// A decimal number from 1 to 2^63 - 1.
inline std::optional<std::int64_t> positiveNumber(QString digits) {
    if (digits.startsWith(QLatin1Char('+')))
        digits.remove(0, 1);
    if (digits.isEmpty())
        return std::nullopt;
    std::int64_t number = 0;
    for (const QChar digit : digits) {
        if (digit < QLatin1Char('0') || digit > QLatin1Char('9'))
            return std::nullopt;
        const std::int64_t value = digit.unicode() - u'0';
        if (number > (INT64_MAX - value) / 10)
            return std::nullopt;
        number = number * 10 + value;
    }
    return number == 0 ? std::nullopt : std::optional(number);
}

/// What readEnginePort() reads.
inline std::int64_t enginePort(const QStringList &lines) {
    for (const QString &line : lines) {
        const QStringList pieces = line.split(QLatin1Char('='));
        if (pieces.size() < 2 || trimmed(pieces[0]) != QLatin1String("MediaSocketPort"))
            continue;
        if (const auto port = positiveNumber(trimmed(pieces[1])))
            return *port;
    }
    return 9877;
}

inline const QStringList identityKeys{QStringLiteral("MinerEmailAddress"), QStringLiteral("MinerEntityName"),
                                      QStringLiteral("MinerDisplayName")};

/// The index of the line's key in identityKeys; -1 for any other line.
inline qsizetype identityKeyOf(const QString &line) {
    for (qsizetype i = 0; i < identityKeys.size(); ++i)
        if (line.startsWith(identityKeys[i]))
            return i;
    return -1;
}

inline QStringList linesWithoutIdentity(const QStringList &lines) {
    QStringList others;
    for (const QString &line : lines)
        if (identityKeyOf(line) < 0)
            others += line;
    return others;
}

/// What SaveProps::save() makes of the lines.
inline QStringList saved(const QStringList &lines, const QStringList &values) {
    QStringList written;
    for (qsizetype i = 0; i < values.size(); ++i)
        written += identityKeys[i].leftJustified(24) + QStringLiteral("= ") + values[i];
    QStringList output;
    QStringList missing = written;
    for (const QString &line : lines) {
        const qsizetype key = identityKeyOf(line);
        output += key < 0 ? line : written[key];
        if (key >= 0)
            missing.removeAll(written[key]);
    }
    const bool endsWithNewline = output.last().isEmpty();
    if (endsWithNewline)
        output.removeLast();
    output += missing;
    if (endsWithNewline)
        output += QString();
    return output;
}

/// The file with these lines. A first U+FEFF is text, and would be taken for a mark if there were none before
/// it.
inline QByteArray fileWith(const QStringList &lines) {
    const QByteArray text = lines.join(QLatin1Char('\n')).toUtf8();
    return text.startsWith("\xEF\xBB\xBF") ? "\xEF\xBB\xBF" + text : text;
}

}  // namespace ferrolt::plain

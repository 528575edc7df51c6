#pragma once

#include "ImageListing.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QMap>
#include <QString>

#include <optional>
#include <string>
#include <vector>

/// The rules for the listing of a disk image once more, in the plainest way: the whole text, cut into lists.
namespace ferrolt::plain {

struct ListedEntry {
    ImageEntry::Kind kind = ImageEntry::Kind::File;
    QByteArray path;
    uint permissions = 0;
    quint64 size = 0;
};

/// The value of "Key = value" or "Key =value"; nothing if it is another line.
inline std::optional<QByteArray> valueIn(const QByteArray &line, const QByteArray &key) {
    if (line.startsWith(key + " = "))
        return line.mid(key.size() + 3);
    return line.startsWith(key + " =") ? std::optional(line.mid(key.size() + 2)) : std::nullopt;
}

/// Whether no system would take the path for one that leaves its folder, or for two.
inline bool staysInside(const QByteArray &path) {
    const QByteArrayList components = path.split('/');
    for (const QByteArray &component : components)
        if (component.isEmpty() || component == "." || component == ".." || component.contains('\0'))
            return false;
    return path.size() <= 1024 && components.size() <= 128;
}

/// As composedName() says: what HFS+ never decomposes is set aside, the rest is composed.
inline QByteArray composed(const QByteArray &path) {
    QString text = QString::fromUtf8("\xEF\xBB\xBF" + path);
    if (text.toUtf8() != path)
        return path;
    const QChar placeholder(0xE000);  // private use: nothing composes with it
    QString setAside;
    for (QChar &c : text) {
        const bool isNeverDecomposed = c.isSurrogate() || (c >= QChar(0x2000) && c <= QChar(0x2FFF)) ||
                                       (c >= QChar(0xF900) && c <= QChar(0xFAFF));
        if (!isNeverDecomposed && c != placeholder)
            continue;
        setAside += c;
        c = placeholder;
    }
    QString result = text.normalized(QString::NormalizationForm_C);
    qsizetype used = 0;
    for (QChar &c : result)
        if (c == placeholder)
            c = setAside[used++];
    return result.toUtf8();
}

inline std::optional<uint> permissionsIn(const QByteArray &mode) {
    if (mode.size() < 10)
        return std::nullopt;
    uint permissions = 0;
    for (int i = 0; i < 9; ++i) {
        const char c = mode[i + 1];
        if (c == "rwx"[i % 3] || (i % 3 == 2 && (c == 's' || c == 't')))
            permissions |= 0400U >> i;
        else if (c != '-' && c != 'S' && c != 'T')
            return std::nullopt;
    }
    return permissions;
}

/// Outer nothing: the listing is refused. Inner nothing: the block is no entry.
inline std::optional<std::optional<ListedEntry>> entryOf(const QByteArrayList &block) {
    QMap<QByteArray, QByteArray> fields;
    for (const QByteArray &line : block)
        for (const char *key : {"Path", "Folder", "Size", "Mode", "Alternate Stream"})
            if (const auto value = valueIn(line, key))
                fields[key] = *value;
    if (fields["Alternate Stream"] == "+")
        return std::optional<ListedEntry>();

    ListedEntry entry;
    entry.path = fields["Path"];
    const QByteArray mode = fields["Mode"];
    const QByteArray folder = fields["Folder"].left(1);
    const char type = mode.isEmpty() ? '0' : mode[0];
    if (type == 'd' || ((type == '0' || type == '\0') && folder == "+"))
        entry.kind = ImageEntry::Kind::Folder;
    else if (type == 'l')
        entry.kind = ImageEntry::Kind::Link;
    else if (type != '-' && type != '0' && type != '\0')
        return std::nullopt;
    const bool isFolder = entry.kind == ImageEntry::Kind::Folder;
    if (!folder.isEmpty() && folder != QByteArray(1, '\0') && (folder == "+") != isFolder)
        return std::nullopt;

    const auto permissions = permissionsIn(mode);
    if (!mode.isEmpty() && !permissions)
        return std::nullopt;
    entry.permissions = type != '0' ? *permissions : isFolder ? 0755 : 0644;
    const QByteArray size = fields["Size"];
    if (!isFolder && !size.isEmpty()) {
        bool isNumber = size.size() == size.count('0') + size.count('1') + size.count('2') + size.count('3') +
                                           size.count('4') + size.count('5') + size.count('6') +
                                           size.count('7') + size.count('8') + size.count('9');
        if (isNumber)
            entry.size = size.toULongLong(&isNumber);
        if (!isNumber)
            return std::nullopt;
    }
    return entry;
}

/// The blocks of lines that each begin with a path, and end before an empty line or the next path.
inline QList<QByteArrayList> blocksOf(const QByteArrayList &lines) {
    QList<QByteArrayList> blocks;
    bool isInside = false;
    for (const QByteArray &line : lines) {
        const bool isPath = valueIn(line, "Path").has_value();
        if (isPath)
            blocks += QByteArrayList();
        isInside = isPath || (isInside && !line.isEmpty());
        if (isInside)
            blocks.last() += line;
    }
    return blocks;
}

/// What ImageListing makes of a listing; nothing if it refuses it.
inline std::optional<QList<ListedEntry>> listing(const QByteArray &text) {
    const QByteArrayList lines = text.split('\n');
    for (const QByteArray &line : lines)
        if (line.size() > 65536)
            return std::nullopt;
    const qsizetype rule = lines.indexOf("----------");
    if (rule < 0)
        return std::nullopt;
    QByteArray volume;
    for (const QByteArray &line : lines.first(rule))
        volume = valueIn(line, "Type").value_or(volume);
    if (volume != "HFS" && volume != "APFS")
        return std::nullopt;

    QList<ListedEntry> entries;
    QByteArray topFolder;
    for (const QByteArrayList &block : blocksOf(lines.mid(rule + 1))) {
        const auto read = entryOf(block);
        if (!read)
            return std::nullopt;
        if (!*read)
            continue;
        ListedEntry entry = **read;
        if (!staysInside(entry.path))
            return std::nullopt;
        if (volume == "HFS") {
            const QByteArrayList components = entry.path.split('/');
            if (topFolder.isEmpty())
                topFolder = components.first();
            if (components.first() != topFolder)
                return std::nullopt;
            if (components.size() == 1) {
                if (entry.kind != ImageEntry::Kind::Folder)
                    return std::nullopt;
                continue;
            }
            const QByteArray inside = components.mid(1).join('/');
            if (inside.startsWith("[HFS+ Private Data]/iNode"))
                return std::nullopt;
            entry.path = composed(inside);
            if (!staysInside(entry.path))
                return std::nullopt;
        }
        entries += entry;
    }
    return entries;
}

}  // namespace ferrolt::plain

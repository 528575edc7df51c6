#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

namespace ferrolt {

/// What the installer needs of a Metalink document (RFC 5854): where a file can be had, and what it must hash
/// to.
struct Metalink {
    QList<QUrl> mirrors;            ///< http and https only, in document order
    std::optional<QString> sha256;  ///< lower-case, otherwise unchecked
};

/// Reads a document with QXmlStreamReader. Never fails: where the parser stops, or where the document asks
/// for more work than its size warrants, what came before counts. The parser lets a few things pass that
/// XML 1.0 does not allow. Any thread; touches no shared state, fetches nothing.
Metalink parseMetalink(const QByteArray &data);

}  // namespace ferrolt

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

/// Reads a document. Never fails: of one that is not well-formed, or that asks for more work than its size
/// warrants, what came before the bad place counts. Any thread; touches no shared state, fetches nothing.
Metalink parseMetalink(const QByteArray &data);

}  // namespace ferrolt

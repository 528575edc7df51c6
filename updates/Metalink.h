#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

namespace ferrolt {

/// The part of a Metalink document (RFC 5854) that the installer needs: a file's mirrors and its digest.
struct Metalink {
    QList<QUrl> mirrors;            ///< http and https only, in document order
    std::optional<QString> sha256;  ///< in lower case, otherwise unchecked
};

/// Never fails: the result holds what was found before the parser stopped, at an XML error or at one of the
/// limits that keep the parser's time and memory proportional to the document. QXmlStreamReader accepts a few
/// things that XML 1.0 does not allow. Fetches nothing: external entities are ignored. Any thread.
Metalink parseMetalink(const QByteArray &data);

}  // namespace ferrolt

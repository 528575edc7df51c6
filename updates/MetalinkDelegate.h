#pragma once

#include <QList>
#include <QString>
#include <QStringView>
#include <QUrl>
#include <QXmlStreamAttributes>

#include <optional>

namespace ferrolt {

/// Collects what a Metalink says while an event parser walks through it. One for each document. Element names
/// are compared exactly, prefix and case included.
class Delegate {
  public:
    void didStartElement(QStringView name, const QXmlStreamAttributes &attributes);
    /// One text may come in several pieces.
    void foundCharacters(QStringView characters);
    void didEndElement(QStringView name);

    QList<QUrl> mirrors;
    std::optional<QString> sha256;  ///< once set never replaced
    QString current;                ///< the characters since the last start or end of an element
    bool inSha256Hash = false;
};

}  // namespace ferrolt

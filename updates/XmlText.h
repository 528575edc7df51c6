#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

namespace ferrolt {

/// The characters of an XML document: by its byte order mark, by the look of its first bytes, or by the
/// encoding that it declares, else UTF-8. Ends before the first bytes that are not of that encoding; empty if
/// nobody knows it.
QString decodeXml(const QByteArray &data);

/// How much of a document, from its beginning, a parser can walk through in a time that goes with its length.
/// Qt's compares each attribute of a tag with all others, and each tag with every attribute that the document
/// declares, so the prefix ends before the first tag with more than `mostAttributes` attributes, and before
/// the first declaration of an attribute list or a parameter entity, which could bring one.
qsizetype harmlessLength(QStringView document);

constexpr int mostAttributes = 256;

}  // namespace ferrolt

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

namespace ferrolt {

/// An XML document as text. The encoding is found by the byte order mark, by the first bytes or by the XML
/// declaration, in this order, else it is UTF-8. The text ends before the first bytes that are invalid in it,
/// and is empty for an encoding that Qt does not know. Any thread.
QString decodeXml(const QByteArray &data);

/// The length of the longest prefix that QXmlStreamReader (Qt 6.4) parses in linear time. It compares every
/// attribute of a tag with all others, and every tag with all declared attributes: quadratic in a hostile
/// document. So the prefix ends before the first tag with more than `maxAttributes` attributes, and before
/// the first declaration of an attribute list or of a parameter entity, which could expand to one. Any
/// thread.
qsizetype linearTimePrefixLength(QStringView document);

constexpr int maxAttributes = 256;

}  // namespace ferrolt

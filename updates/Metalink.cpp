#include "Metalink.h"

#include "MetalinkDelegate.h"
#include "XmlText.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace ferrolt {

namespace {

/// Every Metalink is three or four levels deep. The parser keeps something for each open element.
constexpr int deepestElement = 256;

/// How many characters all entities of a document together may expand to.
constexpr qsizetype longestExpansion = 16 * 1024 * 1024;

/// The bound for one entity that makes the bound for all of them hold: a reference takes at least three
/// characters.
int entityLimit(qsizetype documentLength) {
    constexpr qsizetype largest = 4096;  // as Qt has it
    return static_cast<int>(std::min(largest, longestExpansion / (documentLength / 3 + 1)));
}

void walk(QXmlStreamReader &reader, Delegate &delegate) {
    int depth = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
            case QXmlStreamReader::StartElement:
                if (++depth > deepestElement)
                    return;
                delegate.didStartElement(reader.qualifiedName(), reader.attributes());
                break;
            case QXmlStreamReader::Characters:
                delegate.foundCharacters(reader.text());
                break;
            case QXmlStreamReader::EndElement:
                --depth;
                delegate.didEndElement(reader.qualifiedName());
                break;
            default:
                break;
        }
    }
}

}  // namespace

Metalink parseMetalink(const QByteArray &data) {
    QString document = decodeXml(data);
    document.truncate(harmlessLength(document));
    QXmlStreamReader reader(document);
    reader.setNamespaceProcessing(false);
    reader.setEntityExpansionLimit(entityLimit(document.size()));
    Delegate delegate;
    walk(reader, delegate);
    return {delegate.mirrors, delegate.sha256};
}

}  // namespace ferrolt

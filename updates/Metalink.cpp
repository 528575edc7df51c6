#include "Metalink.h"

#include "XmlText.h"

#include <QStringView>
#include <QXmlStreamAttributes>
#include <QXmlStreamReader>

#include <algorithm>

namespace ferrolt {

namespace {

/// A real Metalink has a depth of three or four. The parser keeps memory for every open element.
constexpr int maxDepth = 256;

/// The max number of characters that all entity references of a document may expand to together.
constexpr qsizetype maxExpansion = 16 * 1024 * 1024;

/// Qt limits the length of a single entity. This limit keeps all of them together below maxExpansion: a
/// reference has at least three characters, so a document of this length has at most a third as many.
int entityLimit(qsizetype documentLength) {
    constexpr qsizetype qtDefault = 4096;
    return static_cast<int>(std::min(qtDefault, maxExpansion / (documentLength / 3 + 1)));
}

const QLatin1String urlElement("url");
const QLatin1String hashElement("hash");

/// StrictMode: a text with a blank inside is no URL, and is not corrected into one. QUrl reports every scheme
/// in lower case.
std::optional<QUrl> mirrorFrom(const QString &text) {
    const QUrl url(text, QUrl::StrictMode);
    const bool isWeb = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !isWeb)
        return std::nullopt;
    return url;
}

/// The event handler of one parse. Element names are compared exactly, prefix and case included.
class Delegate {
  public:
    void didStartElement(QStringView name, const QXmlStreamAttributes &attributes) {
        current.clear();
        if (name != hashElement)
            return;  // an element inside a hash does not end the hash
        const QString type = attributes.value(QLatin1String("type")).toString().toLower();
        inSha256Hash = type == QLatin1String("sha-256") || type == QLatin1String("sha256");
    }

    /// One text may arrive in several calls.
    void foundCharacters(QStringView characters) { current.append(characters); }

    void didEndElement(QStringView name) {
        const QString text = current.trimmed();
        current.clear();
        if (name == urlElement) {
            if (const auto mirror = mirrorFrom(text))
                mirrors.append(*mirror);
        } else if (name == hashElement) {
            if (inSha256Hash && !sha256 && !text.isEmpty())
                sha256 = text.toLower();
            inSha256Hash = false;
        }
    }

    QList<QUrl> mirrors;
    std::optional<QString> sha256;  ///< the first one; never replaced

  private:
    QString current;  ///< the characters since the last start or end of an element
    bool inSha256Hash = false;
};

void walk(QXmlStreamReader &reader, Delegate &delegate) {
    int depth = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
            case QXmlStreamReader::StartElement:
                if (++depth > maxDepth)
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
    document.truncate(linearTimePrefixLength(document));
    QXmlStreamReader reader(document);
    reader.setNamespaceProcessing(false);
    reader.setEntityExpansionLimit(entityLimit(document.size()));
    Delegate delegate;
    walk(reader, delegate);
    return {delegate.mirrors, delegate.sha256};
}

}  // namespace ferrolt

#include "MetalinkDelegate.h"

namespace ferrolt {

namespace {

const QLatin1String urlElement("url");
const QLatin1String hashElement("hash");

/// A text is a URL only if it is one as it stands: a blank inside is not mended. The parser gives every
/// scheme in lower case, however it was written.
std::optional<QUrl> mirrorFrom(const QString &text) {
    const QUrl url(text, QUrl::StrictMode);
    const bool isWeb = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !isWeb)
        return std::nullopt;
    return url;
}

}  // namespace

void Delegate::didStartElement(QStringView name, const QXmlStreamAttributes &attributes) {
    current.clear();
    if (name != hashElement)
        return;  // an element inside a hash does not end it
    const QString type = attributes.value(QLatin1String("type")).toString().toLower();
    inSha256Hash = type == QLatin1String("sha-256") || type == QLatin1String("sha256");
}

void Delegate::foundCharacters(QStringView characters) {
    current.append(characters);
}

void Delegate::didEndElement(QStringView name) {
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

}  // namespace ferrolt

#include "XmlText.h"

#include <QRegularExpression>
#include <QStringDecoder>

#include <algorithm>
#include <optional>
#include <utility>

namespace ferrolt {

namespace {

/// The XML declaration has three short entries at most.
constexpr qsizetype maxDeclarationLength = 1024;

QStringDecoder decoderFor(const QByteArray &data) {
    // Finds UTF-16 and UTF-32 by a byte order mark or by the bytes of the '<' that a document begins with.
    if (const auto encoding = QStringConverter::encodingForData(data, u'<'))
        return QStringDecoder(*encoding);
    static const QRegularExpression declared(
        QStringLiteral(R"(^<\?xml\s[^>]*?\sencoding\s*=\s*["']([A-Za-z][A-Za-z0-9._-]*)["'])"));
    const auto match =
        declared.match(QString::fromLatin1(data.first(std::min(data.size(), maxDeclarationLength))));
    if (match.hasMatch())
        return QStringDecoder(match.captured(1).toLatin1().constData());
    return QStringDecoder(QStringConverter::Utf8);
}

/// Walks from tag to tag without parsing their contents.
class Scanner {
  public:
    explicit Scanner(QStringView text) : text(text) {}

    qsizetype linearTimePrefixLength() {
        while ((at = text.indexOf(u'<', at)) >= 0) {
            if (skip(u"<!--", u"-->") || skip(u"<![CDATA[", u"]]>") || skip(u"<?", u"?>"))
                continue;
            if (isRefusedDeclaration() || !skipTag())
                return at;
        }
        return text.size();
    }

  private:
    bool startsWith(QStringView mark) const { return text.sliced(at).startsWith(mark); }

    /// Moves `at` behind `closing` when `opening` is here; false otherwise.
    bool skip(QStringView opening, QStringView closing) {
        if (!startsWith(opening))
            return false;
        const qsizetype end = text.indexOf(closing, at + opening.size());
        at = end < 0 ? text.size() : end + closing.size();
        return true;
    }

    bool isRefusedDeclaration() const {
        if (startsWith(u"<!ATTLIST"))
            return true;
        constexpr QStringView entity = u"<!ENTITY";
        if (!startsWith(entity))
            return false;
        qsizetype next = at + entity.size();
        while (next < text.size() && text[next].isSpace())
            ++next;
        return next < text.size() && text[next] == u'%';
    }

    /// Moves `at` behind a tag or declaration; false, and `at` stays, when it has too many attributes.
    bool skipTag() {
        int equals = 0;
        for (qsizetype next = at + 1; next < text.size(); ++next) {
            const QChar character = text[next];
            if (character == u'"' || character == u'\'') {
                next = text.indexOf(character, next + 1);
                if (next < 0)
                    break;
            } else if (character == u'=' && ++equals > maxAttributes) {
                return false;
            } else if (character == u'>' || character == u'[') {
                // The declarations of a document type begin at '['. In any other tag the parser gives up
                // there.
                at = next + 1;
                return true;
            }
        }
        at = text.size();
        return true;
    }

    QStringView text;
    qsizetype at = 0;
};

}  // namespace

QString decodeXml(const QByteArray &data) {
    const auto decode = [&](qsizetype length) -> std::optional<QString> {
        QStringDecoder decoder = decoderFor(data);
        if (!decoder.isValid())
            return std::nullopt;
        QString text = decoder.decode(data.first(length));
        return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
    };
    if (auto text = decode(data.size()))
        return *std::move(text);
    // A binary search for the longest prefix without an error. The decoded text cannot be searched for
    // U+FFFD: it may be part of the document, and some decoders use another replacement.
    qsizetype good = 0;
    for (qsizetype bad = data.size(); bad - good > 1;) {
        const qsizetype middle = good + (bad - good) / 2;
        (decode(middle) ? good : bad) = middle;
    }
    return decode(good).value_or(QString());
}

qsizetype linearTimePrefixLength(QStringView document) {
    return Scanner(document).linearTimePrefixLength();
}

}  // namespace ferrolt

#include "XmlText.h"

#include <QRegularExpression>
#include <QStringDecoder>

#include <algorithm>
#include <optional>
#include <utility>

namespace ferrolt {

namespace {

/// Where the XML declaration must end by; nothing but its three short entries may stand in it.
constexpr qsizetype longestDeclaration = 1024;

QStringDecoder decoderFor(const QByteArray &data) {
    // Bytes that stand for '<' in UTF-16 or UTF-32 tell these apart even without a byte order mark.
    if (const auto encoding = QStringConverter::encodingForData(data, u'<'))
        return QStringDecoder(*encoding);
    static const QRegularExpression declared(
        QStringLiteral(R"(^<\?xml\s[^>]*?\sencoding\s*=\s*["']([A-Za-z][A-Za-z0-9._-]*)["'])"));
    const auto match =
        declared.match(QString::fromLatin1(data.first(std::min(data.size(), longestDeclaration))));
    if (match.hasMatch())
        return QStringDecoder(match.captured(1).toLatin1().constData());
    return QStringDecoder(QStringConverter::Utf8);
}

/// Walks over markup without understanding it.
class Scanner {
  public:
    explicit Scanner(QStringView text) : text(text) {}

    qsizetype harmlessLength() {
        while ((at = text.indexOf(u'<', at)) >= 0) {
            if (skips(u"<!--", u"-->") || skips(u"<![CDATA[", u"]]>") || skips(u"<?", u"?>"))
                continue;
            if (isDangerousDeclaration() || !skipTag())
                return at;
        }
        return text.size();
    }

  private:
    bool startsWith(QStringView mark) const { return text.sliced(at).startsWith(mark); }

    bool skips(QStringView opening, QStringView closing) {
        if (!startsWith(opening))
            return false;
        const qsizetype end = text.indexOf(closing, at + opening.size());
        at = end < 0 ? text.size() : end + closing.size();
        return true;
    }

    bool isDangerousDeclaration() const {
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

    /// Leaves `at` behind a tag or a declaration; in front of it, with false, if it has too many attributes.
    bool skipTag() {
        const bool isDocumentType = startsWith(u"<!DOCTYPE");
        int equals = 0;
        for (qsizetype next = at + 1; next < text.size(); ++next) {
            const QChar character = text[next];
            if (character == u'"' || character == u'\'') {
                next = text.indexOf(character, next + 1);
                if (next < 0)
                    break;
            } else if (character == u'=' && ++equals > mostAttributes) {
                return false;
            } else if (character == u'>' || (isDocumentType && character == u'[')) {
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
    // The longest beginning without an error. What stands in the text for bytes that are none cannot be
    // searched for: U+FFFD may be there by right, and some encodings have another character for it.
    qsizetype good = 0;
    for (qsizetype bad = data.size(); bad - good > 1;) {
        const qsizetype middle = good + (bad - good) / 2;
        (decode(middle) ? good : bad) = middle;
    }
    return decode(good).value_or(QString());
}

qsizetype harmlessLength(QStringView document) {
    return Scanner(document).harmlessLength();
}

}  // namespace ferrolt

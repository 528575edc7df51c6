#include "Expect.h"
#include "FuzzInput.h"
#include "Metalink.h"

#include <QStringEncoder>

#include <algorithm>
#include <optional>
#include <vector>

using namespace ferrolt;

namespace {

/// What a parser reports of a document.
struct Event {
    enum class Kind { Start, Text, End } kind;
    QString text;          ///< the element's name, or characters
    QString type;          ///< of a start: its attribute, empty if it has none
    qsizetype written{0};  ///< the document's length after this event
};

/// A piece of a document, and the characters that it stands for.
struct Piece {
    const char *written;
    const char *characters;
};

constexpr Piece pieces[] = {{"https://", "https://"},
                            {"http://one.example/", "http://one.example/"},
                            {"ftp://", "ftp://"},
                            {"HTTPS://Two.example", "HTTPS://Two.example"},
                            {"a", "a"},
                            {"F00D", "F00D"},
                            {" ", " "},
                            {"\n\t", "\n\t"},
                            {"&#x68;ttp", "http"},
                            {"&amp;", "&"},
                            {"&entity;", "s://three.example/"},
                            {"<![CDATA[<&]]>", "<&"},
                            {"<![CDATA[/]]>", "/"},
                            {"<!-- https:// -->", ""},
                            {"<?a b?>", ""},
                            {"\xC3\x84", "\xC3\x84"}};
constexpr Piece types[] = {{"", ""},
                           {" type='sha-256'", "sha-256"},
                           {" type=\"SHA256\"", "SHA256"},
                           {" x='sha-256' type='&#115;Ha-256'", "sHa-256"},
                           {" type='sha-1'", "sha-1"},
                           {" Type='sha-256'", ""},
                           {" type=' sha-256'", " sha-256"},
                           {" x:type='sha-256'", ""}};
constexpr const char *names[] = {"url", "hash", "a", "URL", "x:hash"};

/// A well-formed document and its events.
struct Document {
    QString text;
    std::vector<Event> events;

    explicit Document(FuzzInput &input) {
        text = QStringLiteral("<!DOCTYPE a [<!ENTITY entity 's://three.example/'>]>");
        std::vector<QString> open;
        start(QStringLiteral("a"), types[0], open);
        while (!input.isEmpty() && !open.empty()) {
            const std::size_t what = input.below(32);
            if (what < 6 && open.size() < 100)
                start(QString::fromUtf8(names[what % std::size(names)]), types[input.below(std::size(types))],
                      open);
            else if (what < 14 && open.size() > 1)
                end(open);
            else
                add(pieces[what % std::size(pieces)], Event::Kind::Text, {});
        }
        while (!open.empty())
            end(open);
    }

  private:
    void start(const QString &name, const Piece &type, std::vector<QString> &open) {
        text += '<' + name + QString::fromUtf8(type.written) + '>';
        events.push_back({Event::Kind::Start, name, QString::fromUtf8(type.characters), text.size()});
        open.push_back(name);
    }
    void end(std::vector<QString> &open) {
        text += QStringLiteral("</") + open.back() + '>';
        events.push_back({Event::Kind::End, open.back(), {}, text.size()});
        open.pop_back();
    }
    void add(const Piece &piece, Event::Kind kind, const QString &type) {
        text += QString::fromUtf8(piece.written);
        events.push_back({kind, QString::fromUtf8(piece.characters), type, text.size()});
    }
};

/// The characters since the last start or end before that event, without what is blank around them.
QString textBefore(const std::vector<Event> &events, std::size_t end) {
    QString text;
    while (end > 0 && events[end - 1].kind == Event::Kind::Text)
        text.prepend(events[--end].text);
    return text.trimmed();
}

/// Whether the last start or end of a hash before that event is a start with a type that names SHA-256.
bool isInSha256Hash(const std::vector<Event> &events, std::size_t end) {
    while (end > 0) {
        const Event &event = events[--end];
        if (event.kind == Event::Kind::Text || event.text != QLatin1String("hash"))
            continue;
        const QString type = event.type.toLower();
        return event.kind == Event::Kind::Start &&
               (type == QLatin1String("sha-256") || type == QLatin1String("sha256"));
    }
    return false;
}

/// The rule read backwards: from each end of an element to what it ends.
Metalink plainMetalink(const std::vector<Event> &events) {
    Metalink metalink;
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (events[i].kind != Event::Kind::End)
            continue;
        const QString text = textBefore(events, i);
        const QUrl url(text, QUrl::StrictMode);
        if (events[i].text == QLatin1String("url") && url.isValid() &&
            (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https")))
            metalink.mirrors.append(url);
        if (events[i].text == QLatin1String("hash") && isInSha256Hash(events, i) && !metalink.sha256 &&
            !text.isEmpty())
            metalink.sha256 = text.toLower();
    }
    return metalink;
}

QByteArray encoded(const QString &text, std::size_t encoding) {
    switch (encoding) {
        case 0:
            return QStringEncoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom)(text);
        case 1:
            return QStringEncoder(QStringConverter::Utf16BE, QStringConverter::Flag::WriteBom)(text);
        case 2:
            return QByteArrayLiteral("\xEF\xBB\xBF") + text.toUtf8();
        default:
            return text.toUtf8();
    }
}

}  // namespace

/// Writes any well-formed document, whole or cut off somewhere, and compares what is parsed with what was
/// written.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzInput input(data, size);
    const std::size_t encoding = input.below(8);
    const std::size_t cut = input.below(1U << 16U);
    Document document(input);
    const auto length = static_cast<qsizetype>(cut) % (2 * document.text.size());
    if (length < document.text.size()) {
        document.text.truncate(length);
        std::erase_if(document.events, [length](const Event &event) { return event.written > length; });
    }
    const Metalink parsed = parseMetalink(encoded(document.text, encoding));
    const Metalink expected = plainMetalink(document.events);
    expect(parsed.mirrors == expected.mirrors);
    expect(parsed.sha256 == expected.sha256);
    return 0;
}

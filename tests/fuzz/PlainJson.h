#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QMap>
#include <QString>

#include <cstdlib>
#include <optional>

namespace ferrolt {

/// The top-level object of a document by the letter of RFC 8259. Of each value it keeps only what a
/// manifest's fields need.
class PlainJson {
  public:
    struct Value {
        enum class Type { Null, Number, String, Other };
        Type type = Type::Other;
        QByteArray number;  ///< as it is written
        QString string;
    };

    /// Nothing if the document is malformed, is no object, or has what QJsonDocument refuses beyond the RFC:
    /// more than 1024 levels, a number that a double cannot hold.
    static std::optional<QMap<QString, Value>> object(const QByteArray &document) {
        PlainJson json(document.startsWith("\xEF\xBB\xBF") ? document.mid(3) : document);
        json.skipBlanks();
        QMap<QString, Value> members;
        if (!json.takeObject(&members, 1))
            return std::nullopt;
        json.skipBlanks();
        return json.rest.isEmpty() ? std::optional(members) : std::nullopt;
    }

  private:
    explicit PlainJson(const QByteArray &document) : document(document), rest(this->document) {}

    static constexpr int maxLevel = 1024;

    bool take(QByteArrayView text) {
        if (!rest.startsWith(text))
            return false;
        rest = rest.sliced(text.size());
        return true;
    }
    char next() const { return rest.isEmpty() ? '\0' : rest.front(); }
    void skipBlanks() {
        while (take(" ") || take("\t") || take("\n") || take("\r")) {
        }
    }
    bool takeDigits() {
        qsizetype count = 0;
        for (; next() >= '0' && next() <= '9'; ++count)
            rest = rest.sliced(1);
        return count > 0;
    }

    bool takeNumber(QByteArray &number) {
        const QByteArrayView start = rest;
        take("-");
        if (!take("0") && !takeDigits())
            return false;
        if (take(".") && !takeDigits())
            return false;
        if (take("e") || take("E")) {
            if (!take("+"))
                take("-");
            if (!takeDigits())
                return false;
        }
        number = start.first(start.size() - rest.size()).toByteArray();
        bool isInRange = false;
        number.toDouble(&isInRange);
        return isInRange;
    }

    bool takeEscape(QString &string) {
        static constexpr QByteArrayView letters = "\"\\/bfnrt";
        static constexpr QByteArrayView characters = "\"\\/\b\f\n\r\t";
        if (!take("u")) {
            const qsizetype index = rest.isEmpty() ? -1 : letters.indexOf(next());
            if (index < 0)
                return false;
            string += QLatin1Char(characters[index]);
            rest = rest.sliced(1);
            return true;
        }
        if (rest.size() < 4)
            return false;
        ushort unit = 0;
        for (int i = 0; i < 4; ++i) {
            const qsizetype digit =
                QByteArrayView("0123456789abcdef")
                    .indexOf(next() >= 'A' && next() <= 'F' ? static_cast<char>(next() + 32) : next());
            if (digit < 0)
                return false;
            unit = static_cast<ushort>(unit * 16 + digit);
            rest = rest.sliced(1);
        }
        string += QChar(unit);
        return true;
    }

    bool takeString(QString &string) {
        if (!take("\""))
            return false;
        while (!take("\"")) {
            if (take("\\")) {
                if (!takeEscape(string))
                    return false;
                continue;
            }
            qsizetype length = 0;
            while (length < rest.size() && rest[length] != '"' && rest[length] != '\\')
                if (static_cast<uchar>(rest[length++]) < 0x20)
                    return false;
            const QByteArrayView plain = rest.first(length);
            if (length == 0 || !plain.isValidUtf8())
                return false;
            // fromUtf8() would drop a first U+FEFF as a byte-order mark.
            string += QString::fromUtf8("\xEF\xBB\xBF" + plain.toByteArray());
            rest = rest.sliced(length);
        }
        return true;
    }

    bool takeValue(Value &value, int level) {
        const char first = next();
        if (first == '{')
            return takeObject(nullptr, level);
        if (first == '[')
            return takeArray(level);
        if (first == '"') {
            value.type = Value::Type::String;
            return takeString(value.string);
        }
        if (take("null")) {
            value.type = Value::Type::Null;
            return true;
        }
        if (take("true") || take("false"))
            return true;
        value.type = Value::Type::Number;
        return takeNumber(value.number);
    }

    bool takeArray(int level) {
        if (level > maxLevel || !take("["))
            return false;
        skipBlanks();
        if (take("]"))
            return true;
        do {
            Value ignored;
            skipBlanks();
            if (!takeValue(ignored, level + 1))
                return false;
            skipBlanks();
        } while (take(","));
        return take("]");
    }

    bool takeObject(QMap<QString, Value> *members, int level) {
        if (level > maxLevel || !take("{"))
            return false;
        skipBlanks();
        if (take("}"))
            return true;
        do {
            QString key;
            Value value;
            skipBlanks();
            if (!takeString(key))
                return false;
            skipBlanks();
            if (!take(":"))
                return false;
            skipBlanks();
            if (!takeValue(value, level + 1))
                return false;
            if (members)
                (*members)[key] = value;
            skipBlanks();
        } while (take(","));
        return take("}");
    }

    const QByteArray document;
    QByteArrayView rest;
};

}  // namespace ferrolt

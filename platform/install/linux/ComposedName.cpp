#include "ComposedName.h"

#include <QByteArrayView>
#include <QString>
#include <QStringDecoder>

namespace ferrolt {

namespace {

bool isNeverDecomposed(QChar unit) {
    const char16_t value = unit.unicode();
    return (value >= 0x2000 && value <= 0x2FFF) || (value >= 0xF900 && value <= 0xFAFF) || unit.isSurrogate();
}

}  // namespace

std::string composedName(const std::string &path) {
    const QByteArrayView bytes(path.data(), static_cast<qsizetype>(path.size()));
    // The decoder reports no error for a path that ends inside a character, and drops that character.
    if (!bytes.isValidUtf8())
        return path;
    // By default it would also drop a first U+FEFF as a byte-order mark.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    const QString decoded = utf8.decode(bytes);
    QString composed;
    for (qsizetype start = 0; start < decoded.size();) {
        const bool isKept = isNeverDecomposed(decoded[start]);
        qsizetype end = start + 1;
        while (end < decoded.size() && isNeverDecomposed(decoded[end]) == isKept)
            ++end;
        const QString run = decoded.mid(start, end - start);
        composed += isKept ? run : run.normalized(QString::NormalizationForm_C);
        start = end;
    }
    return composed.toStdString();
}

}  // namespace ferrolt

#include "ComposedName.h"

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
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString decoded = utf8.decode(QByteArrayView(path.data(), static_cast<qsizetype>(path.size())));
    if (utf8.hasError())
        return path;
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

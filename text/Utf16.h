#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringDecoder>

namespace ferrolt {

/// The text in UTF-16, whole. QString::fromUtf8() takes a U+FEFF at the start for a byte-order mark and drops
/// it; in a value or in a log it is a character like any other, and every place after it would be counted
/// wrong. Any thread.
inline QString utf16Of(QByteArrayView text) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(text);
}

}  // namespace ferrolt

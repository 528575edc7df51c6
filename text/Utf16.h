#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringDecoder>

namespace ferrolt {

/// UTF-8 as UTF-16, every character kept. QString::fromUtf8() drops a U+FEFF at the start as a byte-order
/// mark; in a value or a log it is a character like any other, and without it all later offsets would be
/// wrong. Any thread.
inline QString utf16Of(QByteArrayView text) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(text);
}

}  // namespace ferrolt

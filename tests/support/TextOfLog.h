#pragma once

#include "LogText.h"

#include <QByteArray>
#include <QList>

namespace ferrolt {

inline LogBuffer logOf(const QList<QByteArray> &elements) {
    LogBuffer log;
    for (const QByteArray &element : elements)
        log.append(element);
    return log;
}

inline QByteArray text(const LogBuffer &log, LogSpan span) {
    QByteArray joined;
    for (const QByteArray &piece : LogText::pieces(log, span))
        joined += piece;
    return joined;
}

}  // namespace ferrolt

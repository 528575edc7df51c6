#include "SingleLineText.h"

#include <algorithm>

namespace ferrolt {
namespace {

bool isLineBreak(QChar character) {
    switch (character.unicode()) {
        case u'\n':
        case u'\v':
        case u'\f':
        case u'\r':
        case u'\u0085':
        case u'\u2028':
        case u'\u2029':
            return true;
        default:
            return false;
    }
}

bool isForbidden(QChar character) {
    return character.isNull() || isLineBreak(character);
}

}  // namespace

void SingleLineText::makeSingleLine(QString &text, int &cursor) {
    if (std::none_of(text.cbegin(), text.cend(), isForbidden))
        return;
    const auto begin = std::find_if_not(text.cbegin(), text.cend(), isForbidden);
    const auto end = std::find_if_not(text.crbegin(), text.crend(), isForbidden).base();
    QString line;
    line.reserve(text.size());
    qsizetype newCursor = 0;
    for (auto at = text.cbegin(); at != text.cend(); ++at) {
        if (at - text.cbegin() == cursor)
            newCursor = line.size();
        if (at < begin || at >= end || at->isNull())
            continue;
        const bool isSecondOfPair = *at == u'\n' && at != begin && *(at - 1) == u'\r';
        if (!isLineBreak(*at))
            line += *at;
        else if (!isSecondOfPair)
            line += u' ';
    }
    if (cursor >= text.size())
        newCursor = line.size();
    text = line;
    cursor = static_cast<int>(newCursor);
}

QValidator::State SingleLineText::validate(QString &text, int &cursor) const {
    makeSingleLine(text, cursor);
    return Acceptable;
}

}  // namespace ferrolt

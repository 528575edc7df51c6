#include "Utf16Index.h"

#include "LogText.h"
#include "Utf8.h"

#include <QChar>

#include <algorithm>
#include <limits>

namespace ferrolt {

qint64 Utf16Index::unitsIn(QByteArrayView text) {
    // One unit for each character and one more for each of four bytes.
    qint64 units = 0;
    constexpr qsizetype block = 64;  // with a constant number of iterations the compiler vectorises the loop
    const char *const bytes = text.data();
    qsizetype at = 0;
    const auto unitsOf = [](char byte) {
        const auto value = static_cast<unsigned char>(byte);
        return static_cast<unsigned char>(((value & 0xC0U) != 0x80U ? 1U : 0U) + (value >= 0xF0U ? 1U : 0U));
    };
    for (; at + block <= text.size(); at += block) {
        unsigned char sum = 0;
        for (qsizetype i = 0; i < block; ++i)
            sum = static_cast<unsigned char>(sum + unitsOf(bytes[at + i]));
        units += sum;
    }
    for (; at < text.size(); ++at)
        units += unitsOf(bytes[at]);
    return units;
}

std::size_t Utf16Index::bytesOf(QByteArrayView text, qint64 units) {
    std::size_t at = 0;
    while (at < static_cast<std::size_t>(text.size())) {
        const utf8::Character character = utf8::characterAt(text, at);
        units -= QChar::requiresSurrogates(character.codePoint) ? 2 : 1;
        if (units < 0)
            break;
        at += character.length;
    }
    return at;
}

void Utf16Index::sync() {
    if (lengths.isCurrent() && !offsets.empty())
        return;
    lengths.sync([](const LogElement &element) { return unitsIn(element); });
    offsets.clear();
    qint64 sum = 0;
    for (const qint64 length : lengths) {
        offsets.push_back(sum);
        sum += length;
    }
    offsets.push_back(sum);
}

int Utf16Index::size() {
    sync();
    return static_cast<int>(std::min<qint64>(offsets.back(), std::numeric_limits<int>::max()));
}

int Utf16Index::unitsBefore(LogPosition position) {
    sync();
    if (log.isEmpty())
        return 0;
    position = LogText::clamped(log, position);
    const QByteArrayView element(log.bySequence(position.sequence));
    const qint64 units = offsets[static_cast<std::size_t>(position.sequence - lengths.firstSequence())] +
                         unitsIn(element.first(static_cast<qsizetype>(count(position.offset))));
    return static_cast<int>(std::min<qint64>(units, std::numeric_limits<int>::max()));
}

LogPosition Utf16Index::positionAt(int units) {
    Q_ASSERT(!log.isEmpty());
    sync();
    const qint64 wanted = std::clamp<qint64>(units, 0, offsets.back());
    const auto after = std::upper_bound(offsets.begin(), offsets.end() - 1, wanted);
    const auto index = static_cast<std::size_t>(std::max<std::ptrdiff_t>(after - offsets.begin() - 1, 0));
    return {lengths.firstSequence() + index, byteOffset(bytesOf(log.at(index), wanted - offsets[index]))};
}

}  // namespace ferrolt

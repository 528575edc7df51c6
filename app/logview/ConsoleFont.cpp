#include "ConsoleFont.h"

#include "CellWidth.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>

namespace ferrolt {

ConsoleFont::ConsoleFont(const QFont &font, qreal devicePixelRatio)
    : asked(font), ratio(devicePixelRatio), spaced(font) {
    spaced.setKerning(false);
    const QFontMetricsF metrics(spaced);
    const qreal advance = metrics.horizontalAdvance(u'0');
    cell = std::max(std::round(advance * ratio), 1.0) / ratio;
    if (std::abs(cell - advance) > 0.01)
        spaced.setLetterSpacing(QFont::AbsoluteSpacing, cell - advance);
    row = std::max(static_cast<int>(std::ceil(metrics.ascent() + metrics.descent() + metrics.leading())), 1);
    baseLine = std::round((row + metrics.ascent() - metrics.descent()) / 2);

    raw = QRawFont::fromFont(spaced);
    QString printable;
    for (char16_t c = firstPrintable; c <= lastPrintable; ++c)
        printable += QChar(c);
    const QList<quint32> found = raw.glyphIndexesForString(printable);
    // Rows in a font that joins characters or lacks some are drawn by the text layout instead.
    if (found.size() == printable.size())
        std::copy(found.begin(), found.end(), glyphs.begin() + firstPrintable);
}

bool ConsoleFont::isFor(const QFont &font, qreal devicePixelRatio) const {
    return asked == font && ratio == devicePixelRatio;
}

}  // namespace ferrolt

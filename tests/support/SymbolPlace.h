#pragma once

#include "Symbols.h"

#include <QImage>
#include <QRect>
#include <QString>

#include <cstdlib>
#include <optional>

namespace ferrolt {

/// Finds a symbol of `side` pixels in the colour `tint`: the first place in `within` where the picture has
/// the colour at all opaque pixels of the symbol and at none of its transparent ones. For pictures at
/// scale 1.
inline std::optional<QPoint> placeOfSymbol(const QImage &picture, const QRect &within, int side,
                                           Symbol symbol, const QColor &tint) {
    const QImage wanted =
        symbolPixmap(symbol, QSize(side, side), tint, 1).toImage().convertToFormat(QImage::Format_ARGB32);
    const auto isAt = [&](QPoint corner) {
        int solid = 0;
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                const int alpha = qAlpha(wanted.pixel(x, y));
                const bool hasTint = picture.pixel(corner + QPoint(x, y)) == tint.rgb();
                if ((alpha == 255 && !hasTint) || (alpha == 0 && hasTint))
                    return false;
                solid += alpha == 255 ? 1 : 0;
            }
        }
        return solid > 0;
    };
    const QRect part = within & picture.rect();
    for (int y = part.top(); y + side <= part.bottom() + 1; ++y) {
        for (int x = part.left(); x + side <= part.right() + 1; ++x) {
            if (isAt({x, y}))
                return QPoint(x, y);
        }
    }
    return std::nullopt;
}

/// Row by row, '#' for each pixel in `within` whose brightness differs clearly from that at its top left
/// corner, '.' for the others.
inline QString grayShape(const QImage &picture, const QRect &within) {
    const QImage gray = picture.convertToFormat(QImage::Format_Grayscale8);
    const int ground = qGray(gray.pixel(within.topLeft()));
    QString shape;
    for (int y = within.top(); y <= within.bottom(); ++y) {
        for (int x = within.left(); x <= within.right(); ++x)
            shape += std::abs(qGray(gray.pixel(x, y)) - ground) > 32 ? '#' : '.';
        shape += '\n';
    }
    return shape;
}

/// Whether any pixel in `within` has that colour.
inline bool hasColor(const QImage &picture, const QRect &within, const QColor &color) {
    const QRect part = within & picture.rect();
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            if (picture.pixel(x, y) == color.rgb())
                return true;
        }
    }
    return false;
}

}  // namespace ferrolt

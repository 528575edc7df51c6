#pragma once

#include "LogLayout.h"

#include <QtGlobal>

namespace ferrolt {

/// Where the characters of a row stand, in logical pixels from the row's left edge. Only a view, which has
/// the font, can tell.
class RowMetrics {
  public:
    virtual ~RowMetrics() = default;

    /// The log must hold the row's element.
    virtual qreal xOf(const LogRow &row, ByteOffset offset) const = 0;
    /// The place between two characters that is nearest to `x`.
    virtual LogPosition positionAt(const LogRow &row, qreal x) const = 0;
};

}  // namespace ferrolt

// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtvilovaluerange.h"

#include "plot/core/qtviloformats.h"

namespace QtViloValueRange {

Range of(const void *samples, qint64 count, int typeIndex)
{
    Range range;
    QtViloFormats::visitType(typeIndex, [&](auto tag) {
        range = of(static_cast<const decltype(tag) *>(samples), count);
    });
    return range;
}

} // namespace QtViloValueRange

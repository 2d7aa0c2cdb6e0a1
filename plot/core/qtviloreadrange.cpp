// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtviloreadrange.h"

#include <algorithm>
#include <limits>

namespace QtViloReadRange {

namespace {

constexpr qint64 Max = std::numeric_limits<qint64>::max();

qint64 nonNegative(qint64 value)
{
    return value < 0 ? 0 : value;
}

qint64 saturatingAdd(qint64 a, qint64 b)
{
    qint64 sum;
    return __builtin_add_overflow(a, b, &sum) ? Max : sum;
}

qint64 saturatingMul(qint64 a, qint64 b)
{
    qint64 product;
    return __builtin_mul_overflow(a, b, &product) ? Max : product;
}

} // namespace

qint64 availableSamples(qint64 fileSize, qint64 byteOffset, qint64 sampleWidth)
{
    if (sampleWidth <= 0)
        return 0;
    const qint64 bytes = nonNegative(fileSize) - nonNegative(byteOffset);
    return bytes <= 0 ? 0 : bytes / sampleWidth;
}

SampleRange fileRange(const Params &params, qint64 available)
{
    const qint64 total = nonNegative(available);
    const qint64 d = nonNegative(params.dataOffset);
    const qint64 m = nonNegative(params.maxPlotSize);
    const qint64 end = std::min(total, saturatingAdd(d, m));
    SampleRange range;
    range.count = std::max<qint64>(end - d, 0);
    range.start = params.reverseOffset ? std::max<qint64>(total - (d + range.count), 0) : d;
    return range;
}

ByteRange memoryRange(const Params &params, qint64 size)
{
    const qint64 bytes = nonNegative(size);
    const qint64 s = std::max<qint64>(params.sampleWidth, 1);
    const qint64 d = nonNegative(params.dataOffset);
    const qint64 m = nonNegative(params.maxPlotSize);
    const qint64 first = saturatingMul(d, s);
    const qint64 last = std::min(bytes, saturatingMul(s, saturatingAdd(m, d)));
    ByteRange range;
    range.length = std::max<qint64>(last - first, 0);
    if (params.reverseOffset) {
        // first + length <= size whenever length > 0, and first may saturate otherwise.
        range.start = std::max<qint64>(bytes - saturatingAdd(first, range.length), 0);
    } else {
        range.start = first;
    }
    return range;
}

double visibleFraction(qint64 total, qint64 dataOffset, qint64 maxPlotSize)
{
    if (total <= 0)
        return 0;
    const qint64 d = nonNegative(dataOffset);
    const qint64 m = nonNegative(maxPlotSize);
    const double fraction =
        total > saturatingAdd(d, m) ? double(m) / double(total) : double(total - d) / double(total);
    return fraction < 0 ? 0 : fraction;
}

} // namespace QtViloReadRange

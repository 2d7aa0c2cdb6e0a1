// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <limits>
#include <type_traits>

// The smallest and largest sample of a read, found as part of the read.
namespace QtViloValueRange {

struct Range
{
    double min = 0;
    double max = 0;
};

// One pass over count samples. Independent lanes keep each lane's compare-and-select free of
// any reduction order, so GCC turns the inner loop into packed min/max (SLP, from -O2 on)
// without -ffast-math. NaNs are skipped (a NaN never compares less or greater); no samples,
// or NaNs only, give {0, 0}.
template <typename T> Range of(const T *samples, qint64 count)
{
    // 64 bytes of lanes per step; 64-bit integers have no packed compare before SSE4.2, and
    // two lanes of scalar selects measured fastest for them at -O2 and -O3 alike.
    constexpr int Lanes = std::is_integral<T>::value && sizeof(T) == 8 ? 2 : 64 / int(sizeof(T));
    constexpr T Highest = std::is_floating_point<T>::value ? std::numeric_limits<T>::infinity()
                                                           : std::numeric_limits<T>::max();
    constexpr T Lowest = std::is_floating_point<T>::value ? -std::numeric_limits<T>::infinity()
                                                          : std::numeric_limits<T>::lowest();
    T lo[Lanes];
    T hi[Lanes];
    for (int j = 0; j < Lanes; ++j) {
        lo[j] = Highest;
        hi[j] = Lowest;
    }
    qint64 i = 0;
    for (; i + Lanes <= count; i += Lanes) {
        for (int j = 0; j < Lanes; ++j) {
            const T v = samples[i + j];
            lo[j] = v < lo[j] ? v : lo[j];
            hi[j] = hi[j] < v ? v : hi[j];
        }
    }
    for (int j = 0; j < Lanes && i + j < count; ++j) {
        const T v = samples[i + j];
        lo[j] = v < lo[j] ? v : lo[j];
        hi[j] = hi[j] < v ? v : hi[j];
    }
    T low = lo[0];
    T high = hi[0];
    for (int j = 1; j < Lanes; ++j) {
        low = lo[j] < low ? lo[j] : low;
        high = high < hi[j] ? hi[j] : high;
    }
    if (count <= 0 || high < low)
        return {};
    return {double(low), double(high)};
}

// Dispatches once on a QtViloFormats type index (AsciiType reads doubles); an unknown index
// gives {0, 0}. samples must be aligned for the type.
Range of(const void *samples, qint64 count, int typeIndex);

} // namespace QtViloValueRange

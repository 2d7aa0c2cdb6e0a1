// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QPointF>
#include <QVector>
#include <QtGlobal>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

// Per-pixel-column reduction of a long sample array for drawing.
//
// The result is the polyline that a 1-pixel cosmetic, non-antialiased pen on the raster engine
// draws with exactly the pixels of the polyline through every sample, each point mapped and
// rounded with qRound as Qwt does on raster devices. Cost: one vectorised min/max pass over the
// samples plus a little work per pixel column, so a view of 250 million samples costs about as
// much as reading them once.
//
// Why a column keeps more than its first, minimum, maximum and last sample: Qt's cosmetic
// stroker carries state from one segment to the next (last pixel, direction, an extra cap pixel
// on reversals, clipping) and adds or skips single pixels where segments meet. The pixels of a
// column also depend on the direction of its first and last step where that end sample is an
// extreme or (last step) joins the next column level or by one pixel, on whether an extreme is
// reached inside the column where its ends leave that pixel out, and on whether the first step
// leaves the stroker's clip area. A column keeps just the points that make all of these match:
// 1 to 4, and 5 in the few columns where an extreme at the first sample must be reached again
// and the last step turns back; among equals the shorter path. The last column of the range
// also keeps its last three distinct points as they are, because the end cap depends on the
// last two segments.
//
// NaN samples (float, double) are skipped: the line joins the samples on both sides of them,
// and they take no part in minima and maxima. Mapped values are clamped to +-2^30 before
// rounding so that infinities and huge zooms stay inside int.
namespace QtViloColumnReducer {

// s -> p1 + (s - s1) * factor, the linear scale map as Qwt computes it.
struct LinearMap
{
    double p1 = 0.0;
    double s1 = 0.0;
    double factor = 1.0;
    double operator()(double s) const { return p1 + (s - s1) * factor; }
};

struct Params
{
    // Inclusive sample index range; clamped to the array by the caller.
    qint64 from = 0;
    qint64 to = -1;
    // Sample index -> pixel x; factor must be positive.
    LinearMap x;
    // Sample value -> pixel y; either direction.
    LinearMap y;
    // The raster stroker's clip bounds in the polyline's coordinates: for a device of height h
    // drawn without transform, -1 and h + 1. Infinite when unknown: then the pixels match
    // exactly as long as no segment leaves the device.
    double clipTop = -std::numeric_limits<double>::infinity();
    double clipBottom = std::numeric_limits<double>::infinity();
};

// Reduces `data` (an array of T that need not be aligned) into `out` (cleared first).
template <typename T> void reduce(const void *data, const Params &params, QVector<QPointF> &out);

using ReduceFunction = void (*)(const void *, const Params &, QVector<QPointF> &);

// The instance for a sample type index (0 Int8 … 10 Uint64; 6 Ascii shares 5 Double's
// instance); nullptr above 10.
ReduceFunction reducerFor(int typeIndex);

// False (and `out` empty) for an unknown type index.
inline bool reduceByType(int typeIndex, const void *data, const Params &params,
                         QVector<QPointF> &out)
{
    const ReduceFunction fn = reducerFor(typeIndex);
    out.clear();
    if (!fn)
        return false;
    fn(data, params, out);
    return true;
}

namespace Detail {

constexpr double kPixelLimit = double(1 << 30);
// Classes of pixel y beyond the clip bounds; all values there behave alike for the vertical
// segments inside a column.
constexpr int kBelow = INT_MIN;
constexpr int kAbove = INT_MAX;
// Run scans test blocks of this many samples by their min/max before looking at single ones.
constexpr qint64 kBlock = 64;

inline int toPixel(double d)
{
    if (!(d > -kPixelLimit)) // also NaN, which only mapped NaN samples produce
        d = -kPixelLimit;
    else if (d > kPixelLimit)
        d = kPixelLimit;
    return qRound(d);
}

inline int sign(qint64 v)
{
    return (v > 0) - (v < 0);
}

template <typename T> inline T load(const uchar *base, qint64 i)
{
    T v;
    memcpy(&v, base + i * qint64(sizeof(T)), sizeof(T));
    return v;
}

template <typename T> inline bool isNan(T v)
{
    if constexpr (std::is_floating_point_v<T>)
        return v != v;
    else
        return false;
}

// Start values of a min/max scan; for floating types an all-NaN range leaves lo > hi.
template <typename T> inline T minStart()
{
    if constexpr (std::is_floating_point_v<T>)
        return std::numeric_limits<T>::infinity();
    else
        return std::numeric_limits<T>::max();
}

template <typename T> inline T maxStart()
{
    if constexpr (std::is_floating_point_v<T>)
        return -std::numeric_limits<T>::infinity();
    else
        return std::numeric_limits<T>::lowest();
}

// The hot loop: min and max of [i0, i1] without per-sample branches. GCC vectorises neither a
// floating-point select reduction without fast-math flags (which would also break the NaN
// rule) nor one over promoted small integers, so two 16-byte vectors of lanes are kept
// explicitly (minps/maxps, pminsw/pmaxsw on x86). A NaN compares false and so never wins.
// 64-bit integers stay scalar on plain x86-64 (no 64-bit vector compare before SSE4.2).
template <typename T> inline void minMax(const uchar *base, qint64 i0, qint64 i1, T &lo, T &hi)
{
    const uchar *p = base + i0 * qint64(sizeof(T));
    const qint64 n = i1 - i0 + 1;
    T l = lo;
    T h = hi;
    qint64 k = 0;
    if constexpr (std::is_floating_point_v<T> || sizeof(T) < 8) {
        typedef T Vec __attribute__((vector_size(16)));
        constexpr int kLanes = 16 / int(sizeof(T));
        Vec l0 = {};
        Vec h0 = {};
        for (int j = 0; j < kLanes; ++j) {
            l0[j] = l;
            h0[j] = h;
        }
        Vec l1 = l0;
        Vec h1 = h0;
        for (; k + 2 * kLanes <= n; k += 2 * kLanes) {
            Vec a;
            Vec b;
            memcpy(&a, p + k * qint64(sizeof(T)), sizeof a);
            memcpy(&b, p + (k + kLanes) * qint64(sizeof(T)), sizeof b);
            l0 = a < l0 ? a : l0;
            h0 = a > h0 ? a : h0;
            l1 = b < l1 ? b : l1;
            h1 = b > h1 ? b : h1;
        }
        for (int j = 0; j < kLanes; ++j) {
            l = l0[j] < l ? l0[j] : l;
            l = l1[j] < l ? l1[j] : l;
            h = h0[j] > h ? h0[j] : h;
            h = h1[j] > h ? h1[j] : h;
        }
    }
    for (; k < n; ++k) {
        T v;
        memcpy(&v, p + k * qint64(sizeof(T)), sizeof(T));
        l = v < l ? v : l;
        h = v > h ? v : h;
    }
    lo = l;
    hi = h;
}

template <typename T> class ColumnReducer
{
public:
    ColumnReducer(const void *data, const Params &params, QVector<QPointF> &out)
        : m_base(static_cast<const uchar *>(data)), m_p(params), m_out(out)
    {
    }

    void run()
    {
        m_out.clear();
        if (!m_base || m_p.from > m_p.to || m_p.from < 0 || !(m_p.x.factor > 0.0))
            return;
        const qint64 first = nextValid(m_p.from, m_p.to);
        if (first > m_p.to)
            return;
        const qint64 last = previousValid(m_p.to, first);
        if (m_p.x.factor >= 1.0)
            emitEverySample(first, last);
        else
            emitColumns(first, last);
    }

private:
    struct Column
    {
        qint64 a = 0; // first valid sample
        qint64 b = 0; // last valid sample
    };

    // What the stroker's result in one column depends on, in class space (see kBelow).
    struct Shape
    {
        int k = 0; // runs after the first: 0, 1, or 2 meaning "two or more"
        int f = 0; // classes of the first and last sample
        int l = 0;
        int q = 0; // class of the first sample after the first run
        int p = 0; // class of the last sample before the last run
        int m = 0; // smallest and largest class
        int M = 0;
        bool mInside = false; // m / M reached strictly between the first and last run
        bool MInside = false;
        int rawQ = 0; // pixel y of those samples
        int rawP = 0;
        int rawM = 0;
        int rawMax = 0;
        bool steepIn = false;  // joined from column c - 1 by a step of two pixels or more
        bool steepOut = false; // left for column c + 1 (not the last) by such a step
    };

    T at(qint64 i) const { return load<T>(m_base, i); }
    int ypix(T v) const { return toPixel(m_p.y(double(v))); }
    int xpix(qint64 i) const { return toPixel(m_p.x(double(i))); }
    int cls(int y) const
    {
        if (y < m_p.clipTop)
            return kBelow;
        if (y > m_p.clipBottom)
            return kAbove;
        return y;
    }
    static bool outside(int c) { return c == kBelow || c == kAbove; }

    qint64 nextValid(qint64 i, qint64 end) const
    {
        if constexpr (std::is_floating_point_v<T>) {
            while (i <= end && isNan(at(i)))
                ++i;
        }
        Q_UNUSED(end)
        return i;
    }

    qint64 previousValid(qint64 i, qint64 begin) const
    {
        if constexpr (std::is_floating_point_v<T>) {
            while (i >= begin && isNan(at(i)))
                --i;
        }
        Q_UNUSED(begin)
        return i;
    }

    // Key of a sample for run scans: its class, or its pixel y when `raw`.
    int key(T v, bool raw) const { return raw ? ypix(v) : cls(ypix(v)); }

    // First index in [i, end] whose valid sample has another key than `k`; end + 1 if none.
    qint64 runEndForward(qint64 i, qint64 end, int k, bool raw) const
    {
        const qint64 quick = qMin(end, i + 3);
        for (; i <= quick; ++i) {
            const T v = at(i);
            if (!isNan(v) && key(v, raw) != k)
                return i;
        }
        while (i <= end) {
            const qint64 e = qMin(end, i + kBlock - 1);
            T lo = minStart<T>();
            T hi = maxStart<T>();
            minMax(m_base, i, e, lo, hi);
            if (lo > hi || (key(lo, raw) == k && key(hi, raw) == k)) {
                i = e + 1;
                continue;
            }
            for (; i <= e; ++i) {
                const T v = at(i);
                if (!isNan(v) && key(v, raw) != k)
                    return i;
            }
        }
        return end + 1;
    }

    // Last index in [begin, i] whose valid sample has another key than `k`; begin - 1 if none.
    qint64 runEndBackward(qint64 i, qint64 begin, int k, bool raw) const
    {
        const qint64 quick = qMax(begin, i - 3);
        for (; i >= quick; --i) {
            const T v = at(i);
            if (!isNan(v) && key(v, raw) != k)
                return i;
        }
        while (i >= begin) {
            const qint64 s = qMax(begin, i - kBlock + 1);
            T lo = minStart<T>();
            T hi = maxStart<T>();
            minMax(m_base, s, i, lo, hi);
            if (lo > hi || (key(lo, raw) == k && key(hi, raw) == k)) {
                i = s - 1;
                continue;
            }
            for (; i >= s; --i) {
                const T v = at(i);
                if (!isNan(v) && key(v, raw) != k)
                    return i;
            }
        }
        return begin - 1;
    }

    void emitPoint(int x, int y) { m_out.append(QPointF(x, y)); }

    void emitEverySample(qint64 first, qint64 last)
    {
        m_out.reserve(int(qMin<qint64>(last - first + 1, INT_MAX / 2)));
        for (qint64 i = first; i <= last; ++i) {
            const T v = at(i);
            if (!isNan(v))
                emitPoint(xpix(i), ypix(v));
        }
    }

    // Last index of column c, starting from a first index i0 that lies in it.
    qint64 columnEnd(int c, qint64 i0, qint64 end) const
    {
        const double estimate = std::floor(m_p.x.s1 + (c + 0.5 - m_p.x.p1) / m_p.x.factor);
        qint64 e = i0;
        if (estimate > double(i0))
            e = estimate < double(end) ? qint64(estimate) : end;
        // The inverse map only guesses; the forward map decides, as it does for the reference.
        while (e > i0 && xpix(e) > c)
            --e;
        while (e < end && xpix(e + 1) <= c)
            ++e;
        return e;
    }

    void emitColumns(qint64 first, qint64 last)
    {
        const int firstColumn = xpix(first);
        const int lastColumn = xpix(last);
        m_lastColumn = lastColumn;
        m_out.reserve(
            int(qMin<qint64>(5 * (qint64(lastColumn) - firstColumn + 1) + 8, INT_MAX / 8)));

        // A zero-length first or last segment swallows the pen's cap; keep it.
        const qint64 second = nextValid(first + 1, last);
        const bool doubleStart =
            second <= last && xpix(second) == firstColumn && ypix(at(second)) == ypix(at(first));
        const qint64 beforeLast = previousValid(last - 1, first);
        const bool doubleEnd = beforeLast >= first && xpix(beforeLast) == lastColumn &&
                               ypix(at(beforeLast)) == ypix(at(last));

        qint64 i = first;
        while (i <= last) {
            const int c = xpix(i);
            const qint64 e = columnEnd(c, i, last);
            Column col;
            col.a = nextValid(i, e);
            i = e + 1;
            if (col.a > e)
                continue; // only NaN here
            col.b = previousValid(e, col.a);
            const int before = m_out.size();
            if (c == lastColumn)
                emitLastColumn(c, col);
            else
                emitColumn(c, col, ypix(at(col.b)));
            if (c == firstColumn && doubleStart && m_out.size() > before) {
                const QPointF start = m_out.at(before);
                m_out.insert(before, start);
            }
        }
        if (doubleEnd && !m_out.isEmpty()) {
            const QPointF end = m_out.constLast();
            m_out.append(end);
        }
    }

    Shape shapeOf(const Column &col) const
    {
        Shape s;
        const int rawF = ypix(at(col.a));
        const int rawL = ypix(at(col.b));
        s.f = cls(rawF);
        s.l = cls(rawL);
        const qint64 q = runEndForward(col.a + 1, col.b, s.f, false);
        if (q > col.b)
            return s; // k = 0
        const qint64 p = runEndBackward(col.b - 1, col.a, s.l, false);
        if (p < q) {
            s.k = 1;
            return s;
        }
        s.k = 2;
        s.rawQ = ypix(at(q));
        s.rawP = ypix(at(p));
        s.q = cls(s.rawQ);
        s.p = cls(s.rawP);
        T lo = minStart<T>();
        T hi = maxStart<T>();
        minMax(m_base, q, p, lo, hi);
        int rawLo = ypix(lo);
        int rawHi = ypix(hi);
        if (rawLo > rawHi) // the y map turns the axis over
            qSwap(rawLo, rawHi);
        const int innerMin = cls(rawLo);
        const int innerMax = cls(rawHi);
        s.m = qMin(qMin(s.f, s.l), innerMin);
        s.M = qMax(qMax(s.f, s.l), innerMax);
        s.mInside = innerMin == s.m;
        s.MInside = innerMax == s.M;
        s.rawM = rawLo;
        s.rawMax = rawHi;
        return s;
    }

    // Whether a candidate column path (classes, first = f, last = l) draws what the samples do.
    static bool fits(const int *r, int n, const Shape &s, bool clippedQ)
    {
        if (n < 3)
            return false;
        for (int j = 1; j < n; ++j) {
            if (r[j] == r[j - 1])
                return false;
        }
        // An end sample strictly inside the column's span lies under the span whichever way
        // the path leaves or reaches it. The last step still shapes a level or one-pixel join
        // to the next column, and the end cap.
        const bool firstFree = s.m < s.f && s.f < s.M;
        const bool lastFree = s.m < s.l && s.l < s.M && s.steepOut;
        if ((!firstFree && sign(qint64(r[1]) - r[0]) != sign(qint64(s.q) - s.f)) ||
            (!lastFree && sign(qint64(r[n - 1]) - r[n - 2]) != sign(qint64(s.l) - s.p)))
            return false;
        if ((r[1] == kBelow || r[1] == kAbove) != clippedQ)
            return false;
        int lo = r[0];
        int hi = r[0];
        bool mIn = false;
        bool MIn = false;
        for (int j = 1; j < n; ++j) {
            lo = qMin(lo, r[j]);
            hi = qMax(hi, r[j]);
        }
        for (int j = 1; j < n - 1; ++j) {
            mIn = mIn || r[j] == s.m;
            MIn = MIn || r[j] == s.M;
        }
        // Whether an extreme is reached again inside matters only where the path's ends leave
        // its pixel out. The stroker draws the first pixel of a step down and the last of a step
        // up, so the top pixel is drawn when f or l lies on it. The bottom pixel is left out by
        // the step up from f, unless a steep join arrives there, and by the step down into l,
        // but the join onwards (or the next step) starts on it and draws it.
        const bool mFree = (s.f == s.m || s.l == s.m) && !outside(s.m);
        const bool MFree = ((s.f == s.M && s.steepIn) || s.l == s.M) && !outside(s.M);
        return lo == s.m && hi == s.M && (mFree || mIn == s.mInside) && (MFree || MIn == s.MInside);
    }

    // Appends the column's points; `rawL` is the pixel y its path must end on.
    void emitColumn(int c, const Column &col, int rawL)
    {
        const int rawF = ypix(at(col.a));
        Shape s = shapeOf(col);
        if (s.k == 2) {
            if (!m_out.isEmpty() && m_out.constLast().x() == c - 1)
                s.steepIn = std::abs(m_out.constLast().y() - rawF) >= 2.0;
            const qint64 next = nextValid(col.b + 1, m_p.to);
            if (c + 1 < m_lastColumn && next <= m_p.to && xpix(next) == c + 1)
                s.steepOut = qAbs(qint64(ypix(at(next))) - rawL) >= 2;
        }
        if (s.k == 0) {
            emitPoint(c, rawF);
            if (rawL != rawF) // both beyond the same clip bound
                emitPoint(c, rawL);
            return;
        }
        if (s.k == 1) {
            emitPoint(c, rawF);
            emitPoint(c, rawL);
            return;
        }
        // Candidates: f, [q], extremes reached inside (either order), [p], l; the smallest
        // that fits wins. q and p fix the first and last directions when the extremes do not.
        // Between equals the shorter path wins: the stroker's time goes by the pixels it walks.
        int bestRaw[6];
        int bestN = 0;
        qint64 bestLength = 0;
        const bool clippedQ = outside(s.q);
        for (int order = 0; order < 2; ++order) {
            for (int drop = 0; drop < 4; ++drop) {
                int r[6];
                int raw[6];
                int n = 0;
                auto add = [&](int cv, int rv) {
                    if (n == 0 || r[n - 1] != cv) {
                        r[n] = cv;
                        raw[n] = rv;
                        ++n;
                    }
                };
                add(s.f, rawF);
                if (!(drop & 1))
                    add(s.q, s.rawQ);
                for (int j = 0; j < 2; ++j) {
                    const bool minFirst = (j == 0) == (order == 0);
                    if (minFirst && s.mInside)
                        add(s.m, s.rawM);
                    else if (!minFirst && s.MInside)
                        add(s.M, s.rawMax);
                }
                if (!(drop & 2))
                    add(s.p, s.rawP);
                add(s.l, rawL);
                raw[n - 1] = rawL; // beyond a clip bound l may merge with a point before it
                if (bestN != 0 && n > bestN)
                    continue;
                qint64 length = 0;
                for (int j = 1; j < n; ++j)
                    length += qAbs(qint64(raw[j]) - raw[j - 1]);
                if ((bestN == 0 || n < bestN || length < bestLength) && fits(r, n, s, clippedQ)) {
                    bestN = n;
                    bestLength = length;
                    memcpy(bestRaw, raw, sizeof raw);
                }
            }
        }
        // The full candidate (order 0, nothing dropped) always fits; this is a safety net.
        if (bestN == 0) {
            emitPoint(c, rawF);
            emitPoint(c, s.rawQ);
            emitPoint(c, s.rawM);
            emitPoint(c, s.rawMax);
            emitPoint(c, s.rawP);
            emitPoint(c, rawL);
            return;
        }
        for (int j = 0; j < bestN; ++j)
            emitPoint(c, bestRaw[j]);
    }

    // The last column: its last three distinct points stay as they are, the rest is reduced.
    void emitLastColumn(int c, const Column &col)
    {
        constexpr int kTail = 3;
        qint64 runStart[kTail + 2];
        int runY[kTail + 2];
        int runs = 0;
        qint64 i = col.b;
        while (i >= col.a && runs < kTail + 2) {
            const int y = ypix(at(i));
            const qint64 j = runEndBackward(i - 1, col.a, y, true);
            runY[runs] = y;
            runStart[runs] = nextValid(j + 1, i);
            ++runs;
            i = previousValid(j, col.a);
        }
        if (runs <= kTail + 1) { // at most four distinct points: all of them
            for (int r = runs - 1; r >= 0; --r)
                emitPoint(c, runY[r]);
            return;
        }
        Column prefix;
        prefix.a = col.a;
        prefix.b = runStart[kTail - 1];
        emitColumn(c, prefix, runY[kTail - 1]);
        m_out.removeLast(); // the tail's first point, appended again below
        for (int r = kTail - 1; r >= 0; --r)
            emitPoint(c, runY[r]);
    }

    const uchar *m_base;
    const Params &m_p;
    QVector<QPointF> &m_out;
    int m_lastColumn = 0;
};

} // namespace Detail

template <typename T> void reduce(const void *data, const Params &params, QVector<QPointF> &out)
{
    Detail::ColumnReducer<T>(data, params, out).run();
}

inline ReduceFunction reducerFor(int typeIndex)
{
    static const ReduceFunction table[] = {
        &reduce<signed char>,   &reduce<short>,
        &reduce<int>,           &reduce<long long>,
        &reduce<float>,         &reduce<double>,
        &reduce<double>, // Ascii values are held as doubles
        &reduce<unsigned char>, &reduce<unsigned short>,
        &reduce<unsigned int>,  &reduce<unsigned long long>,
    };
    if (typeIndex < 0 || typeIndex >= int(sizeof table / sizeof table[0]))
        return nullptr;
    return table[typeIndex];
}

} // namespace QtViloColumnReducer

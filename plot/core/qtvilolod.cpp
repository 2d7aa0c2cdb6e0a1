// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtvilolod.h"

#include "plot/core/qtvilocolumnreducer.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"

#include <QReadLocker>
#include <QWriteLocker>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

template <typename T> inline T load(const uchar *base, qint64 i)
{
    T v;
    memcpy(&v, base + i * qint64(sizeof(T)), sizeof(T));
    return v;
}

// Small integers compare exactly against integer thresholds in their own width, which
// vectorises; wide integers and floating types compare as doubles, as the rule is stated.
template <typename T>
using CompareType =
    std::conditional_t<std::is_integral_v<T> && (sizeof(T) < 8), T, double>;

// x >= t, or never (on = 0): branch-free so the block loops vectorise.
template <typename C> struct AtLeast
{
    C t;
    uchar on;
};
template <typename C> struct AtMost
{
    C t;
    uchar on;
};

template <typename C> AtLeast<C> atLeast(double bound)
{
    if constexpr (std::is_floating_point_v<C>) {
        return {C(bound), uchar(bound == bound)};
    } else {
        const double lowest = double(std::numeric_limits<C>::lowest());
        const double highest = double(std::numeric_limits<C>::max());
        if (!(bound == bound) || bound > highest)
            return {std::numeric_limits<C>::lowest(), 0};
        if (bound <= lowest)
            return {std::numeric_limits<C>::lowest(), 1};
        return {C(std::ceil(bound)), 1};
    }
}

template <typename C> AtMost<C> atMost(double bound)
{
    if constexpr (std::is_floating_point_v<C>) {
        return {C(bound), uchar(bound == bound)};
    } else {
        const double lowest = double(std::numeric_limits<C>::lowest());
        const double highest = double(std::numeric_limits<C>::max());
        if (!(bound == bound) || bound < lowest)
            return {std::numeric_limits<C>::max(), 0};
        if (bound >= highest)
            return {std::numeric_limits<C>::max(), 1};
        return {C(std::floor(bound)), 1};
    }
}

// 0x00/0xff bytes to bits.
inline quint64 packBytes(const uchar *bytes, int n)
{
#ifdef __SSE2__
    if (n == 64) {
        quint64 bits = 0;
        for (int k = 0; k < 4; ++k) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + 16 * k));
            bits |= quint64(quint32(_mm_movemask_epi8(v))) << (16 * k);
        }
        return bits;
    }
#endif
    quint64 bits = 0;
    for (int k = 0; k < n; ++k)
        bits |= quint64(bytes[k] & 1) << k;
    return bits;
}

template <typename T> class Scanner
{
public:
    using C = CompareType<T>;

    Scanner(const void *data, const QtViloLod::ScanParams &p)
        : m_base(static_cast<const uchar *>(data)), m_p(p), m_geLo(atLeast<C>(p.lo)),
          m_leHi(atMost<C>(p.hi)), m_geHi(atLeast<C>(p.hi)), m_leLo(atMost<C>(p.lo))
    {
    }

    bool run(const QAtomicInteger<quint8> *abort, QtViloKeptListBuilder &out) const
    {
        const qint64 n = m_p.count;
        if (m_p.first >= m_p.last)
            return true;
        if (n == 1) {
            // One sample has no neighbour on either side: only the band counts.
            if (inBand(0))
                out.add(0);
            return true;
        }
        if (m_p.first == 0) {
            const double v = value(0), next = value(1);
            if (inBand(0) || (v >= m_p.hi && next <= m_p.hi) || (v <= m_p.lo && next >= m_p.lo))
                out.add(0);
        }
        const qint64 end = qMin(m_p.last, n - 1);
        for (qint64 c = qMax<qint64>(m_p.first, 1); c < end; c += kChunk) {
            const qint64 chunkEnd = qMin(end, c + kChunk);
            if (abort && abort->loadRelaxed())
                return false;
            if (chunkShortcut(c, chunkEnd, out))
                continue;
            for (qint64 b = c; b < chunkEnd; b += 64) {
                if (abort && abort->loadRelaxed())
                    return false;
                const int m = int(qMin<qint64>(64, chunkEnd - b));
                out.addBlock(b, block(b, m));
            }
        }
        if (m_p.last == n) {
            const double v = value(n - 1), prev = value(n - 2);
            if (inBand(n - 1) || (v >= m_p.hi && prev <= m_p.hi) ||
                (v <= m_p.lo && prev >= m_p.lo))
                out.add(n - 1);
        }
        return true;
    }

private:
    // Chunks are first tested by their extremes: one that lies wholly inside the band is
    // kept whole, one wholly beyond one side keeps at most its two end samples.
    static constexpr qint64 kChunk = 512;

    // Integer samples only: a floating chunk may hold NaN runs, which its extremes do not
    // show and whose inner samples are not kept.
    bool chunkShortcut(qint64 b, qint64 e, QtViloKeptListBuilder &out) const
    {
        if constexpr (!std::is_integral_v<T>) {
            return false;
        } else {
            using QtViloColumnReducer::Detail::maxStart;
            using QtViloColumnReducer::Detail::minStart;
            T lo = minStart<T>(), hi = maxStart<T>();
            QtViloColumnReducer::Detail::minMax<T>(m_base, b, e - 1, lo, hi);
            const bool allIn = m_geLo.on && m_leHi.on && C(lo) >= m_geLo.t && C(hi) <= m_leHi.t;
            if (allIn) {
                out.addRange(b, e);
                return true;
            }
            // Strictly beyond the band on one side: no sample of the chunk reaches it.
            const bool above = !m_leHi.on || C(lo) > m_leHi.t;
            const bool below = !m_geLo.on || C(hi) < m_geLo.t;
            if (!above && !below)
                return false;
            if (keepsInterior(b))
                out.add(b);
            if (e - 1 > b && keepsInterior(e - 1))
                out.add(e - 1);
            return true;
        }
    }

    // The rule for an index with both neighbours.
    bool keepsInterior(qint64 i) const
    {
        const int p = classOf(i - 1), v = classOf(i), n = classOf(i + 1);
        return ((p | v | n) & 1) || ((v & 2) && ((p | n) & 4)) || ((v & 4) && ((p | n) & 2));
    }

    double value(qint64 i) const { return double(load<T>(m_base, i)); }
    bool inBand(qint64 i) const
    {
        const double v = value(i);
        return m_p.lo <= v && v <= m_p.hi;
    }

    // Class bits of sample i: 1 in band, 2 at or above hi, 4 at or below lo.
    int classOf(qint64 i) const
    {
        const double v = value(i);
        return int(m_p.lo <= v && v <= m_p.hi) | (int(v >= m_p.hi) << 1) |
               (int(v <= m_p.lo) << 2);
    }

    // Keep mask of the m interior samples b … b + m - 1 (their neighbours exist).
    quint64 block(qint64 b, int m) const
    {
        alignas(16) uchar in[64], gh[64], ll[64];
        const uchar *src = m_base + b * qint64(sizeof(T));
        const C geLo = m_geLo.t, leHi = m_leHi.t, geHi = m_geHi.t, leLo = m_leLo.t;
        const uchar onIn = uchar(-(m_geLo.on & m_leHi.on)), onGh = uchar(-m_geHi.on),
                    onLl = uchar(-m_leLo.on);
        if (m == 64) {
            for (int j = 0; j < 64; ++j) {
                T raw;
                memcpy(&raw, src + j * sizeof(T), sizeof(T));
                const C x = C(raw);
                in[j] = uchar(-uchar((x >= geLo) & (x <= leHi))) & onIn;
                gh[j] = uchar(-uchar(x >= geHi)) & onGh;
                ll[j] = uchar(-uchar(x <= leLo)) & onLl;
            }
        } else {
            for (int j = 0; j < m; ++j) {
                T raw;
                memcpy(&raw, src + j * sizeof(T), sizeof(T));
                const C x = C(raw);
                in[j] = uchar(-uchar((x >= geLo) & (x <= leHi))) & onIn;
                gh[j] = uchar(-uchar(x >= geHi)) & onGh;
                ll[j] = uchar(-uchar(x <= leLo)) & onLl;
            }
        }
        const quint64 inM = packBytes(in, m), ghM = packBytes(gh, m), llM = packBytes(ll, m);
        const int before = classOf(b - 1), after = classOf(b + m);
        const int top = m - 1;
        auto prev = [&](quint64 mask, int bit) {
            return (mask << 1) | quint64((before >> bit) & 1);
        };
        auto next = [&](quint64 mask, int bit) {
            return (mask >> 1) | (quint64((after >> bit) & 1) << top);
        };
        quint64 keep = inM | prev(inM, 0) | next(inM, 0) |
                       (ghM & (prev(llM, 2) | next(llM, 2))) |
                       (llM & (prev(ghM, 1) | next(ghM, 1)));
        if (m < 64)
            keep &= (quint64(1) << m) - 1;
        return keep;
    }

    const uchar *m_base;
    QtViloLod::ScanParams m_p;
    AtLeast<C> m_geLo;
    AtMost<C> m_leHi;
    AtLeast<C> m_geHi;
    AtMost<C> m_leLo;
};

template <typename T>
bool scanTyped(const void *data, const QtViloLod::ScanParams &params,
               const QAtomicInteger<quint8> *abort, QtViloKeptListBuilder &builder)
{
    return Scanner<T>(data, params).run(abort, builder);
}

double relativeGap(double a, double b)
{
    if (a == b)
        return 0.0;
    return std::abs(a - b) / qMax(std::abs(a), std::abs(b));
}

} // namespace

namespace QtViloLod {

ScanParams scanParams(const QRectF &rect, qint64 count)
{
    ScanParams p;
    p.count = count;
    const double margin = QtViloLodCurve::BandMargin * rect.height();
    p.lo = rect.y() - margin;
    p.hi = rect.y() + rect.height() + margin;
    auto clampIndex = [count](double v) {
        if (!(v > 0.0)) // negative, or NaN
            return qint64(0);
        if (v >= double(count))
            return count;
        return qint64(v);
    };
    p.first = clampIndex(std::floor(rect.x()));
    p.last = clampIndex(std::floor(rect.x() + rect.width()) + 2.0);
    return p;
}

bool scan(int typeIndex, const void *data, const ScanParams &params,
          const QAtomicInteger<quint8> *abort, QtViloKeptList &out)
{
    QtViloKeptListBuilder builder(params.first, params.last);
    bool finished = true;
    if (data && params.count > 0) {
        QtViloFormats::visitType(typeIndex, [&](auto tag) {
            finished = scanTyped<decltype(tag)>(data, params, abort, builder);
        });
    }
    out = builder.take();
    return finished;
}

template <typename T>
void profileTyped(const void *data, qint64 count, const QRectF &rect, int columns,
                  QVector<double> &maxima, QVector<double> &minima)
{
    using namespace QtViloColumnReducer::Detail;
    const auto *base = static_cast<const uchar *>(data);
    const double step = rect.width() / columns;
    for (int c = 0; c < columns; ++c) {
        const double x0 = rect.x() + c * step;
        qint64 i0 = qint64(std::ceil(qMax(x0, 0.0)));
        qint64 i1 = qint64(std::floor(qMin(x0 + step, double(count - 1))));
        if (i0 > i1) {
            // Fewer samples than columns: the nearest one stands for the column.
            const double centre = std::floor(x0 + step / 2 + 0.5);
            if (!(centre >= 0.0 && centre < double(count)))
                continue;
            i0 = i1 = qint64(centre);
        }
        T lo = minStart<T>(), hi = maxStart<T>();
        minMax<T>(base, i0, i1, lo, hi);
        if (lo <= hi) {
            minima[c] = double(lo);
            maxima[c] = double(hi);
        }
    }
}

void profile(int typeIndex, const void *data, qint64 count, const QRectF &rect, int columns,
             QVector<double> &maxima, QVector<double> &minima)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    maxima.fill(nan, qMax(0, columns));
    minima.fill(nan, qMax(0, columns));
    if (!data || count <= 0 || columns <= 0 || !(rect.width() > 0.0))
        return;
    QtViloFormats::visitType(typeIndex, [&](auto tag) {
        profileTyped<decltype(tag)>(data, count, rect, columns, maxima, minima);
    });
}

} // namespace QtViloLod

QtViloLodCurve::QtViloLodCurve(QtViloPlotItem *item, int typeIndex, void *owner,
                               bool dspResult)
    : m_item(item), m_typeIndex(typeIndex), m_owner(owner), m_dspResult(dspResult)
{
}

namespace {
// The values a curve reduces, under the item's lock for them: its samples, or the DSP
// result of the DSP plot (index 0) with its value range.
struct LodSource
{
    LodSource(QtViloPlotItem *item, bool dspResult)
        : locker(dspResult ? &item->dspLock() : &item->dataLock())
    {
        if (!dspResult) {
            data = item->data();
            count = data ? qMax<qint64>(0, item->sampleCount()) : 0;
            generation = item->dataGeneration();
            lo = item->minValue();
            hi = item->maxValue();
            return;
        }
        generation = item->dspGeneration;
        const auto it = item->dspResults().constFind(0);
        if (!item->dspComplete.loadAcquire() || it == item->dspResults().constEnd())
            return;
        data = it->constData();
        count = it->size() / qint64(sizeof(double));
    }
    // The value range, found only when a new result needs it.
    QRectF bounds(bool dspResult)
    {
        if (count <= 0)
            return QRectF();
        if (dspResult) {
            lo = QtViloColumnReducer::Detail::minStart<double>();
            hi = QtViloColumnReducer::Detail::maxStart<double>();
            QtViloColumnReducer::Detail::minMax<double>(static_cast<const uchar *>(data), 0,
                                                        count - 1, lo, hi);
            if (!(lo <= hi))
                lo = hi = 0.0;
        }
        return QRectF(0.0, lo, double(count - 1), hi - lo);
    }
    QReadLocker locker;
    const void *data = nullptr;
    qint64 count = 0;
    quint64 generation = 0;
    double lo = 0.0;
    double hi = 0.0;
};
} // namespace

quint64 QtViloLodCurve::serial() const
{
    QReadLocker locker(&m_serialLock);
    return m_serial;
}

void QtViloLodCurve::setSerial(quint64 serial)
{
    QWriteLocker locker(&m_serialLock);
    m_serial = serial;
}

bool QtViloLodCurve::containsRect(const QRectF &outer, const QRectF &inner)
{
    const QRectF o = outer.normalized(), i = inner.normalized();
    return o.left() <= i.left() && i.right() <= o.right() && o.top() <= i.top() &&
           i.bottom() <= o.bottom();
}

bool QtViloLodCurve::intersectsRect(const QRectF &a, const QRectF &b)
{
    const QRectF p = a.normalized(), q = b.normalized();
    return p.left() <= q.right() && q.left() <= p.right() && p.top() <= q.bottom() &&
           q.top() <= p.bottom();
}

bool QtViloLodCurve::sameRect(const QRectF &a, const QRectF &b)
{
    constexpr double tolerance = 1e-12;
    return relativeGap(a.x(), b.x()) <= tolerance && relativeGap(a.y(), b.y()) <= tolerance &&
           relativeGap(a.width(), b.width()) <= tolerance &&
           relativeGap(a.height(), b.height()) <= tolerance;
}

void QtViloLodCurve::resetFor(quint64 generation, const QRectF &bounds)
{
    QWriteLocker locker(&m_listLock);
    m_lists[0] = QtViloKeptList();
    m_lists[1] = QtViloKeptList();
    m_current = 0;
    m_generation = generation;
    m_history.clear();
    m_bounds = bounds;
    m_reference = bounds;
    m_lastRect = QRectF();
}

void QtViloLodCurve::switchList()
{
    QWriteLocker locker(&m_listLock);
    m_current = quint8((m_current + 1) % 2);
    m_lists[m_current] = QtViloKeptList();
    filling.storeRelease(1);
}

void QtViloLodCurve::publish(const QtViloKeptList &list)
{
    QWriteLocker locker(&m_listLock);
    m_lists[m_current % 2] = list;
    filling.storeRelease(0);
}

void QtViloLodCurve::publishFor(const QtViloKeptList &list, const QRectF &rect, bool remember)
{
    QWriteLocker locker(&m_listLock);
    if (remember && m_history.size() < HistoryDepth)
        m_history.append({rect, list});
    m_lists[m_current % 2] = list;
    filling.storeRelease(0);
    m_reference = rect;
    m_lastRect = rect;
}

void QtViloLodCurve::setLastRect(const QRectF &rect)
{
    QWriteLocker locker(&m_listLock);
    m_lastRect = rect;
}

void QtViloLodCurve::stepBack()
{
    QWriteLocker locker(&m_listLock);
    m_lists[m_current % 2] = QtViloKeptList(); // the partly filled one
    // 0 steps back to 2, not 1: the next switch, (2 + 1) % 2, then lands on 1 again.
    m_current = m_current == 0 ? 2 : quint8(m_current - 1);
    filling.storeRelease(0);
}

bool QtViloLodCurve::reduce(const QRectF &rect, quint64 requestSerial)
{
    abort.fetchAndStoreOrdered(0);
    done.fetchAndStoreOrdered(0);
    filling.fetchAndStoreOrdered(0);
    {
        QWriteLocker locker(&m_serialLock);
        if (requestSerial != m_serial || !m_item) {
            abort.fetchAndStoreOrdered(1);
            done.fetchAndStoreOrdered(1);
            return false;
        }
        ++m_serial;
    }

    LodSource source(m_item, m_dspResult);
    const void *data = source.data;
    const qint64 count = source.count;
    if (source.generation != m_generation)
        resetFor(source.generation, source.bounds(m_dspResult));

    QtViloKeptList current;
    {
        QReadLocker locker(&m_listLock);
        current = m_lists[m_current == 2 ? 1 : m_current];
    }
    if (count > 0 && containsRect(rect, m_bounds) && current.holdsAll(count)) {
        setLastRect(rect);
        done.fetchAndStoreOrdered(1);
        return true;
    }
    if (count == 0 || !intersectsRect(rect, m_bounds)) {
        switchList();
        publish(QtViloKeptList());
        setLastRect(rect);
        done.fetchAndStoreOrdered(1);
        return true;
    }

    const QtViloLod::ScanParams params = QtViloLod::scanParams(rect, count);
    switchList();

    const bool zoomIn = !containsRect(rect, m_reference) &&
                        rect.width() * rect.height() <=
                            m_reference.width() * m_reference.height();
    if (!zoomIn) {
        {
            QWriteLocker locker(&m_listLock);
            while (!m_history.isEmpty() && !sameRect(m_history.last().rect, rect))
                m_history.removeLast();
        }
        if (!m_history.isEmpty()) {
            publishFor(m_history.last().list, rect, false); // shared, not copied
            done.fetchAndStoreOrdered(1);
            return true;
        }
    }

    QtViloKeptList list;
    if (!QtViloLod::scan(m_typeIndex, data, params, &abort, list)) {
        stepBack();
        done.fetchAndStoreOrdered(1);
        return false;
    }
    publishFor(list, rect, true);
    done.fetchAndStoreOrdered(1);
    return true;
}

QtViloKeptList QtViloLodCurve::currentList(quint64 *generation) const
{
    QReadLocker locker(&m_listLock);
    if (generation)
        *generation = m_generation;
    int index = m_current == 2 ? 1 : m_current;
    if (filling.loadAcquire())
        index = 1 - index; // the one being built is not ready
    return m_lists[index];
}

quint8 QtViloLodCurve::currentListNumber() const
{
    QReadLocker locker(&m_listLock);
    return m_current;
}

int QtViloLodCurve::historySize() const
{
    QReadLocker locker(&m_listLock);
    return m_history.size();
}

QVector<QtViloLodCurve::HistoryEntry> QtViloLodCurve::history() const
{
    QReadLocker locker(&m_listLock);
    return m_history;
}

QRectF QtViloLodCurve::lastRect() const
{
    QReadLocker locker(&m_listLock);
    return m_lastRect;
}

QRectF QtViloLodCurve::referenceRect() const
{
    QReadLocker locker(&m_listLock);
    return m_reference;
}

void QtViloLodCurve::retire()
{
    abort.storeRelease(1);
    QWriteLocker locker(&m_dataLock); // waits for a running reduction to see the flag
    m_item = nullptr;
    QWriteLocker lists(&m_listLock);
    m_lists[0] = QtViloKeptList();
    m_lists[1] = QtViloKeptList();
    m_generation = ~quint64(0);
}

bool QtViloLodCurve::updateProfile(const QRectF &rect, int columns, bool accumulate)
{
    if (!m_item)
        return false;
    LodSource source(m_item, m_dspResult);
    const void *data = source.data;
    const qint64 count = source.count;
    if (count <= 0 || columns <= 0)
        return false;
    QVector<double> maxima, minima;
    QtViloLod::profile(m_typeIndex, data, count, rect, columns, maxima, minima);
    const bool grow = accumulate && sameRect(m_profile.rect, rect) &&
                      m_profile.maxima.size() == columns;
    if (grow) {
        for (int c = 0; c < columns; ++c) {
            // NaN loses against any number, so an empty column keeps what it had.
            m_profile.maxima[c] = std::fmax(m_profile.maxima[c], maxima[c]);
            m_profile.minima[c] = std::fmin(m_profile.minima[c], minima[c]);
        }
    } else {
        m_profile.maxima = maxima;
        m_profile.minima = minima;
    }
    m_profile.rect = rect;
    m_profile.generation = source.generation;
    return true;
}

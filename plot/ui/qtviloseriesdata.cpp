// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloseriesdata.h"

#include "plot/core/qtvilodsp.h"
#include "plot/core/qtviloformats.h"

#include <QPaintEngine>
#include <QPainter>
#include <QPolygonF>
#include <qwt_scale_map.h>
#include <qwt_symbol.h>

#include <cmath>
#include <limits>
#include <memory>

QtViloSeriesDataBase::QtViloSeriesDataBase(QtViloPlotItem *item, int typeIndex, Source source,
                                           void *owner)
    : m_item(item), m_typeIndex(typeIndex), m_source(source)
{
    m_lod = QSharedPointer<QtViloLodCurve>::create(item, typeIndex, owner, source == DspResult);
}

QtViloSeriesDataBase::Access::Access(const QtViloSeriesDataBase &series, bool wait)
{
    QtViloPlotItem *item = series.m_item;
    if (series.m_source == Samples) {
        m_lock = &item->dataLock();
        m_lock->lockForRead();
        data = static_cast<const uchar *>(item->data());
        count = data ? qMax<qint64>(0, item->sampleCount()) : 0;
        return;
    }
    QReadWriteLock *lock = &item->dspLock();
    if (wait)
        lock->lockForRead();
    else if (!lock->tryLockForRead())
        return;
    m_lock = lock;
    if (!item->dspComplete.loadAcquire())
        return;
    const QHash<qint32, QByteArray> &results = item->dspResults();
    const auto it = results.constFind(0);
    if (it == results.constEnd() || it->isEmpty())
        return;
    data = reinterpret_cast<const uchar *>(it->constData());
    count = it->size() / qint64(sizeof(double));
    kind = item->dspKinds().value(0);
}

QtViloSeriesDataBase::Access::~Access()
{
    if (m_lock)
        m_lock->unlock();
}

size_t QtViloSeriesDataBase::size() const
{
    const Access access(*this, true);
    return size_t(access.count);
}

QRectF QtViloSeriesDataBase::boundingRect() const
{
    const Access access(*this, true);
    if (access.count <= 0)
        return QRectF(1.0, 1.0, -2.0, -2.0); // Qwt's "invalid" rectangle
    double lo, hi;
    if (m_source == Samples) {
        lo = m_item->minValue();
        hi = m_item->maxValue();
    } else {
        if (m_rangeKey != access.data || m_rangeCount != access.count) {
            m_range = dspValueRange(access);
            m_rangeKey = access.data;
            m_rangeCount = access.count;
        }
        lo = m_range.top();
        hi = m_range.bottom();
    }
    return QRectF(0.0, lo, double(access.count - 1), hi - lo);
}

QRectF QtViloSeriesDataBase::dspValueRange(const Access &access) const
{
    double lo = QtViloColumnReducer::Detail::minStart<double>();
    double hi = QtViloColumnReducer::Detail::maxStart<double>();
    if (access.kind == quint8(QtViloDsp::Kind::DBFS)) {
        // Bins of exact silence sit at the floor, thousands of dB below anything real; scaled
        // from the rest, a clean tone reads as a peak over its noise, and floor bins fall to
        // the bottom edge.
        const double above = QtViloDsp::dbfsFloor(m_item->sampleResolution) + 1.0;
        for (qint64 i = 0; i < access.count; ++i) {
            const double v = QtViloColumnReducer::Detail::load<double>(access.data, i);
            if (v > above && v < std::numeric_limits<double>::infinity()) {
                lo = qMin(lo, v);
                hi = qMax(hi, v);
            }
        }
    }
    if (!(lo <= hi))
        QtViloColumnReducer::Detail::minMax<double>(access.data, 0, access.count - 1, lo, hi);
    if (!(lo <= hi)) // all NaN
        lo = hi = 0.0;
    return QRectF(0.0, lo, 0.0, hi - lo);
}

bool QtViloSeriesDataBase::linearMap(const QwtScaleMap &map, QtViloColumnReducer::LinearMap &out)
{
    if (map.transformation())
        return false;
    // Same operations in the same order as QwtScaleMap, so that every mapped point is equal.
    out.p1 = map.p1();
    out.s1 = map.s1();
    out.factor = 1.0;
    if (map.s1() != map.s2())
        out.factor = (map.p2() - map.p1()) / (map.s2() - map.s1());
    return true;
}

void QtViloSeriesDataBase::clipBounds(const QPainter *painter, QtViloColumnReducer::Params &params)
{
    params.clipTop = -std::numeric_limits<double>::infinity();
    params.clipBottom = std::numeric_limits<double>::infinity();
    const QPaintEngine *engine = painter->paintEngine();
    const QPaintDevice *device = painter->device();
    if (!engine || engine->type() != QPaintEngine::Raster || !device)
        return;
    // A widget paints into its window's backing store, whose size is not known here; the
    // plot canvas paints into a pixmap of its own.
    if (device->devType() != QInternal::Image && device->devType() != QInternal::Pixmap)
        return;
    const QTransform transform = painter->deviceTransform();
    if (transform.type() > QTransform::TxTranslate)
        return;
    // The stroker clips against the device rectangle widened by one pixel above and two below.
    params.clipTop = -1.0 - transform.dy();
    params.clipBottom = device->height() + 1.0 - transform.dy();
}

namespace {

// Folds a stream of pixel points into at most first, lowest, highest and last per pixel
// column: kept samples with gaps between them come in any number per column.
class ColumnFolder
{
public:
    explicit ColumnFolder(QVector<QPointF> &out) : m_out(out) {}
    ~ColumnFolder() { flush(); }

    void push(double x, double y)
    {
        if (m_has && x == m_x) {
            m_min = qMin(m_min, y);
            m_max = qMax(m_max, y);
            m_last = y;
            return;
        }
        flush();
        m_has = true;
        m_x = x;
        m_first = m_min = m_max = m_last = y;
    }

private:
    void emitPoint(double y)
    {
        if (m_out.isEmpty() || m_out.last() != QPointF(m_x, y))
            m_out.append(QPointF(m_x, y));
    }
    void flush()
    {
        if (!m_has)
            return;
        emitPoint(m_first);
        // Through the nearer extreme first, so the joins to both neighbours stay short.
        if (std::abs(m_first - m_min) <= std::abs(m_first - m_max)) {
            emitPoint(m_min);
            emitPoint(m_max);
        } else {
            emitPoint(m_max);
            emitPoint(m_min);
        }
        emitPoint(m_last);
        m_has = false;
    }

    QVector<QPointF> &m_out;
    bool m_has = false;
    double m_x = 0, m_first = 0, m_min = 0, m_max = 0, m_last = 0;
};

} // namespace

void QtViloSeriesDataBase::drawWith(QtViloColumnReducer::ReduceFunction reduce, QPainter *painter,
                                    const QwtScaleMap &xMap, const QwtScaleMap &yMap,
                                    const QRectF &canvasRect, int from, int to, const QPen &pen,
                                    const QwtSymbol *symbol) const
{
    QtViloColumnReducer::Params params;
    const bool linear =
        linearMap(xMap, params.x) && linearMap(yMap, params.y) && params.x.factor > 0.0;
    QVector<QPointF> points;
    double spacing = 0.0;
    {
        // A DSP result being written is not waited for: its completion replots anyway.
        const Access access(*this, m_source == Samples);
        const uchar *data = access.data;
        const qint64 count = access.count;
        if (!data || count <= 0)
            return;
        qint64 first = qMax(0, from);
        qint64 last = (to < 0 || to >= count) ? count - 1 : qint64(to);
        // Only what the canvas shows, plus two pixels on each side: the path's own ends (caps,
        // no history in the stroker) then fall outside the canvas, and the shown pixels are
        // those of the whole curve.
        const double left = xMap.invTransform(canvasRect.left() - 2.0);
        const double right = xMap.invTransform(canvasRect.right() + 2.0);
        const double lo = qBound(-1.0, qMin(left, right), double(count));
        const double hi = qBound(-1.0, qMax(left, right), double(count));
        first = qMax(first, qint64(std::floor(lo)) - 1);
        last = qMin(last, qint64(std::ceil(hi)) + 1);
        if (first > last)
            return;

        // The kept list, if the level-of-detail workers made one for these very samples.
        QtViloKeptList kept;
        bool useKept = false;
        if (m_lod && linear) {
            quint64 generation = 0;
            kept = m_lod->currentList(&generation);
            useKept = generation == (m_source == Samples ? m_item->dataGeneration()
                                                         : m_item->dspGeneration);
            if (useKept) {
                // A list that keeps every shown sample it looked at draws exactly as none.
                const qint64 scanBegin = qBound(first, kept.scanBegin(), last + 1);
                const qint64 scanEnd = qBound(scanBegin, kept.scanEnd(), last + 1);
                qint64 keptShown = 0;
                kept.forEachRun(scanBegin, scanEnd,
                                [&keptShown](qint64 b, qint64 e) { keptShown += e - b; });
                useKept = keptShown < scanEnd - scanBegin;
            }
        }

        if (linear) {
            params.from = first;
            params.to = last;
            clipBounds(painter, params);
            spacing = params.x.factor;
            if (!useKept) {
                reduce(data, params, points);
            } else {
                drawKept(reduce, data, params, kept, points);
            }
        } else {
            // Inverted or logarithmic axes: every shown sample, mapped by Qwt.
            points.reserve(int(qMin<qint64>(last - first + 1, 1 << 24)));
            for (qint64 i = first; i <= last; ++i) {
                const double v = valueOf(data, i);
                if (!std::isnan(v))
                    points.append(
                        QPointF(qRound(xMap.transform(double(i))), qRound(yMap.transform(v))));
            }
            spacing = std::abs(xMap.transform(1.0) - xMap.transform(0.0));
        }
    }
    if (points.isEmpty())
        return;
    painter->save();
    painter->setPen(pen);
    painter->setBrush(Qt::NoBrush);
    painter->drawPolyline(points.constData(), points.size());
    painter->restore();
    if (symbol && symbol->style() != QwtSymbol::NoSymbol && spacing >= kSymbolSpacing) {
        painter->save();
        symbol->drawSymbols(painter, QPolygonF(points));
        painter->restore();
    }
}

void QtViloSeriesDataBase::drawKept(QtViloColumnReducer::ReduceFunction reduce, const uchar *data,
                                    const QtViloColumnReducer::Params &params,
                                    const QtViloKeptList &kept, QVector<QPointF> &points) const
{
    // A few runs are reduced one by one and joined as they are, each exact; the joins lie
    // beyond the band, outside the canvas. Many short runs (a noisy signal cut by a narrow
    // band) go through the column folder, so the polyline stays a few points per column.
    qint64 runs = 0;
    kept.forEachRun(params.from, params.to + 1, [&runs](qint64, qint64) { ++runs; });
    runs += 2; // the parts beyond the scanned range
    const double columns = std::abs(params.x(double(params.to)) - params.x(double(params.from)));
    const bool fold = double(runs) > 4.0 * columns + 64.0;
    QVector<QPointF> part;
    std::unique_ptr<ColumnFolder> folder(fold ? new ColumnFolder(points) : nullptr);
    auto add = [&](double x, double y) {
        if (folder)
            folder->push(x, y);
        else if (points.isEmpty() || points.last() != QPointF(x, y))
            points.append(QPointF(x, y));
    };
    auto drawRun = [&](qint64 b, qint64 e) {
        if (e - b >= 16) {
            QtViloColumnReducer::Params runParams = params;
            runParams.from = b;
            runParams.to = e - 1;
            reduce(data, runParams, part);
            for (const QPointF &p : qAsConst(part))
                add(p.x(), p.y());
            return;
        }
        for (qint64 i = b; i < e; ++i) {
            const double v = valueOf(data, i);
            if (v == v)
                add(QtViloColumnReducer::Detail::toPixel(params.x(double(i))),
                    QtViloColumnReducer::Detail::toPixel(params.y(v)));
        }
    };
    // The canvas shows a little more than the rectangle the list was made for: samples
    // beyond the scanned range are drawn as they are.
    const qint64 end = params.to + 1;
    const qint64 scanBegin = qBound(params.from, kept.scanBegin(), end);
    const qint64 scanEnd = qBound(scanBegin, kept.scanEnd(), end);
    if (params.from < scanBegin)
        drawRun(params.from, scanBegin);
    kept.forEachRun(scanBegin, scanEnd, drawRun);
    if (scanEnd < end)
        drawRun(scanEnd, end);
}

double QtViloSeriesDataBase::valueOf(const uchar *data, qint64 i) const
{
    if (m_source == DspResult)
        return QtViloColumnReducer::Detail::load<double>(data, i);
    return m_item->valueAt(i);
}

QtViloSeriesDataBase *createQtViloSeriesData(QtViloPlotItem *item,
                                             QtViloSeriesDataBase::Source source, void *owner)
{
    if (source == QtViloSeriesDataBase::DspResult)
        return new QtViloSeriesData<double>(item, QtViloFormats::DoubleType, source, owner);
    const int type = item->typeIndex();
    switch (type) {
    case QtViloFormats::Int8Type:
        return new QtViloSeriesData<signed char>(item, type, source, owner);
    case QtViloFormats::Int16Type:
        return new QtViloSeriesData<short>(item, type, source, owner);
    case QtViloFormats::Int32Type:
        return new QtViloSeriesData<int>(item, type, source, owner);
    case QtViloFormats::Int64Type:
        return new QtViloSeriesData<long long>(item, type, source, owner);
    case QtViloFormats::FloatType:
        return new QtViloSeriesData<float>(item, type, source, owner);
    case QtViloFormats::DoubleType:
    case QtViloFormats::AsciiType: // held as doubles
        return new QtViloSeriesData<double>(item, type, source, owner);
    case QtViloFormats::Uint8Type:
        return new QtViloSeriesData<unsigned char>(item, type, source, owner);
    case QtViloFormats::Uint16Type:
        return new QtViloSeriesData<unsigned short>(item, type, source, owner);
    case QtViloFormats::Uint32Type:
        return new QtViloSeriesData<unsigned int>(item, type, source, owner);
    case QtViloFormats::Uint64Type:
        return new QtViloSeriesData<unsigned long long>(item, type, source, owner);
    default:
        return nullptr;
    }
}

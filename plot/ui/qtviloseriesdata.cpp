#include "plot/ui/qtviloseriesdata.h"

#include "plot/core/qtviloformats.h"

#include <QPaintEngine>
#include <QPainter>
#include <QPolygonF>
#include <qwt_scale_map.h>
#include <qwt_symbol.h>

#include <cmath>

size_t QtViloSeriesDataBase::size() const
{
    QReadLocker locker(&m_item->dataLock());
    return m_item->data() ? size_t(qMax<qint64>(0, m_item->sampleCount())) : 0;
}

QRectF QtViloSeriesDataBase::boundingRect() const
{
    QReadLocker locker(&m_item->dataLock());
    const qint64 count = m_item->data() ? m_item->sampleCount() : 0;
    if (count <= 0)
        return QRectF(1.0, 1.0, -2.0, -2.0); // Qwt's "invalid" rectangle
    const double lo = m_item->minValue();
    const double hi = m_item->maxValue();
    return QRectF(0.0, lo, double(count - 1), hi - lo);
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
        QReadLocker locker(&m_item->dataLock());
        const void *data = m_item->data();
        const qint64 count = m_item->sampleCount();
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
        if (linear) {
            params.from = first;
            params.to = last;
            clipBounds(painter, params);
            reduce(data, params, points);
            spacing = params.x.factor;
        } else {
            // Inverted or logarithmic axes: every shown sample, mapped by Qwt.
            points.reserve(int(qMin<qint64>(last - first + 1, 1 << 24)));
            for (qint64 i = first; i <= last; ++i) {
                const double v = m_item->valueAt(i);
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

QtViloSeriesDataBase *createQtViloSeriesData(QtViloPlotItem *item)
{
    const int type = item->typeIndex();
    switch (type) {
    case QtViloFormats::Int8Type:
        return new QtViloSeriesData<signed char>(item, type);
    case QtViloFormats::Int16Type:
        return new QtViloSeriesData<short>(item, type);
    case QtViloFormats::Int32Type:
        return new QtViloSeriesData<int>(item, type);
    case QtViloFormats::Int64Type:
        return new QtViloSeriesData<long long>(item, type);
    case QtViloFormats::FloatType:
        return new QtViloSeriesData<float>(item, type);
    case QtViloFormats::DoubleType:
    case QtViloFormats::AsciiType: // held as doubles
        return new QtViloSeriesData<double>(item, type);
    case QtViloFormats::Uint8Type:
        return new QtViloSeriesData<unsigned char>(item, type);
    case QtViloFormats::Uint16Type:
        return new QtViloSeriesData<unsigned short>(item, type);
    case QtViloFormats::Uint32Type:
        return new QtViloSeriesData<unsigned int>(item, type);
    case QtViloFormats::Uint64Type:
        return new QtViloSeriesData<unsigned long long>(item, type);
    default:
        return nullptr;
    }
}

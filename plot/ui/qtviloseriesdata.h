#pragma once

#include "plot/core/qtvilocolumnreducer.h"
#include "plot/core/qtviloplotitem.h"

#include <QReadLocker>
#include <qwt_series_data.h>

#include <cstring>

class QPainter;
class QPen;
class QwtScaleMap;
class QwtSymbol;

// A plot item's samples as Qwt series data: sample(i) = (i, value), and the drawing of the
// curve by pixel column. The item keeps the samples; this only reads them under the item's
// data lock, so the reader may swap them at any time between two draws.
class QtViloSeriesDataBase : public QwtSeriesData<QPointF>
{
public:
    explicit QtViloSeriesDataBase(QtViloPlotItem *item, int typeIndex)
        : m_item(item), m_typeIndex(typeIndex)
    {
    }

    QtViloPlotItem *item() const { return m_item; }
    // The type index this instance was made for; a format change needs a new instance.
    int typeIndex() const { return m_typeIndex; }

    size_t size() const override;
    // x from 0 to count - 1, y from the item's smallest to its largest value.
    QRectF boundingRect() const override;

    // Draws those of samples [from, to] (to < 0: up to the last) that `canvasRect` shows, and
    // a few beyond its edges, as the reduced polyline with `pen`; `symbol` (may be null) marks
    // each sample once samples lie at least 4 px apart. Holds the item's data lock for
    // reading while it reads samples.
    virtual void draw(QPainter *painter, const QwtScaleMap &xMap, const QwtScaleMap &yMap,
                      const QRectF &canvasRect, int from, int to, const QPen &pen,
                      const QwtSymbol *symbol) const = 0;

    // The reducer's map for a Qwt scale map, computed as Qwt computes its own (so pixels
    // match bit for bit); false for a map with a transformation (log scales).
    static bool linearMap(const QwtScaleMap &map, QtViloColumnReducer::LinearMap &out);
    // The raster stroker's clip bounds for `painter`, or infinite ones when the device or the
    // transformation leaves them unknown.
    static void clipBounds(const QPainter *painter, QtViloColumnReducer::Params &params);

    // Samples closer than this many pixels get no symbols.
    static constexpr double kSymbolSpacing = 4.0;

protected:
    void drawWith(QtViloColumnReducer::ReduceFunction reduce, QPainter *painter,
                  const QwtScaleMap &xMap, const QwtScaleMap &yMap, const QRectF &canvasRect,
                  int from, int to, const QPen &pen, const QwtSymbol *symbol) const;

    QtViloPlotItem *m_item;
    int m_typeIndex;
};

// One instance per sample type (see QtViloColumnReducer::reducerFor for the index table).
template <typename T> class QtViloSeriesData : public QtViloSeriesDataBase
{
public:
    using QtViloSeriesDataBase::QtViloSeriesDataBase;

    QPointF sample(size_t i) const override
    {
        QReadLocker locker(&m_item->dataLock());
        const auto *data = static_cast<const uchar *>(m_item->data());
        if (!data || qint64(i) >= m_item->sampleCount())
            return QPointF(double(i), 0.0);
        T value;
        memcpy(&value, data + i * sizeof(T), sizeof(T)); // mapped files need not be aligned
        return QPointF(double(i), double(value));
    }

    void draw(QPainter *painter, const QwtScaleMap &xMap, const QwtScaleMap &yMap,
              const QRectF &canvasRect, int from, int to, const QPen &pen,
              const QwtSymbol *symbol) const override
    {
        drawWith(&QtViloColumnReducer::reduce<T>, painter, xMap, yMap, canvasRect, from, to, pen,
                 symbol);
    }
};

// The series data for the item's current type index; nullptr for an index above 10.
QtViloSeriesDataBase *createQtViloSeriesData(QtViloPlotItem *item);

// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtvilocolumnreducer.h"
#include "plot/core/qtvilolod.h"
#include "plot/core/qtviloplotitem.h"

#include <QReadLocker>
#include <QSharedPointer>
#include <qwt_series_data.h>

#include <cstring>

class QPainter;
class QPen;
class QwtScaleMap;
class QwtSymbol;

// A plot item's samples (or its DSP result) as Qwt series data: sample(i) = (i, value), and
// the drawing of the curve by pixel column. The item keeps the samples; this only reads them
// under the item's lock, so the reader may swap them at any time between two draws.
//
// Curves carry their level-of-detail state (of the samples, or of the DSP result): once a
// worker has reduced the curve for the current view, only the kept values are drawn.
class QtViloSeriesDataBase : public QwtSeriesData<QPointF>
{
public:
    enum Source { Samples, DspResult };

    QtViloSeriesDataBase(QtViloPlotItem *item, int typeIndex, Source source = Samples,
                         void *owner = nullptr);

    QtViloPlotItem *item() const { return m_item; }
    Source source() const { return m_source; }
    // The type index this instance was made for; a format change needs a new instance.
    int typeIndex() const { return m_typeIndex; }
    const QSharedPointer<QtViloLodCurve> &lod() const { return m_lod; }
    // Forget the cached value range of a DSP result (it was computed again).
    void invalidate() { m_rangeKey = nullptr; }

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

    // The samples under the right lock: the item's data lock, or for DSP results its DSP
    // lock (try-locked when `wait` is false: a transform being written is not waited for).
    class Access
    {
    public:
        Access(const QtViloSeriesDataBase &series, bool wait);
        ~Access();
        Access(const Access &) = delete;
        Access &operator=(const Access &) = delete;
        const uchar *data = nullptr;
        qint64 count = 0;
        // What a DSP result holds (a QtViloDsp::Kind); 0 for samples.
        quint8 kind = 0;

    private:
        QReadWriteLock *m_lock = nullptr;
    };

protected:
    void drawWith(QtViloColumnReducer::ReduceFunction reduce, QPainter *painter,
                  const QwtScaleMap &xMap, const QwtScaleMap &yMap, const QRectF &canvasRect,
                  int from, int to, const QPen &pen, const QwtSymbol *symbol) const;
    // The kept samples of [params.from, params.to] as a polyline.
    void drawKept(QtViloColumnReducer::ReduceFunction reduce, const uchar *data,
                  const QtViloColumnReducer::Params &params, const QtViloKeptList &kept,
                  QVector<QPointF> &points) const;
    // Value range (top and height) of a DSP result for the y axis.
    QRectF dspValueRange(const Access &access) const;
    // Sample i of `data` (from an Access) as a double.
    double valueOf(const uchar *data, qint64 i) const;

    QtViloPlotItem *m_item;
    int m_typeIndex;
    Source m_source;
    QSharedPointer<QtViloLodCurve> m_lod;
    // Value range of a DSP result, cached for the buffer it was found in.
    mutable const void *m_rangeKey = nullptr;
    mutable qint64 m_rangeCount = 0;
    mutable QRectF m_range;
};

// One instance per sample type (see QtViloColumnReducer::reducerFor for the index table).
template <typename T> class QtViloSeriesData : public QtViloSeriesDataBase
{
public:
    using QtViloSeriesDataBase::QtViloSeriesDataBase;

    QPointF sample(size_t i) const override
    {
        const Access access(*this, true);
        if (!access.data || qint64(i) >= access.count)
            return QPointF(double(i), 0.0);
        T value;
        memcpy(&value, access.data + i * sizeof(T), sizeof(T)); // mapped files need not be aligned
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

// The series data for the item's current type index (DSP results are doubles); nullptr for
// an index above 10.
QtViloSeriesDataBase *createQtViloSeriesData(
    QtViloPlotItem *item, QtViloSeriesDataBase::Source source = QtViloSeriesDataBase::Samples,
    void *owner = nullptr);

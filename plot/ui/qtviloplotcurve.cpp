// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotcurve.h"

#include "plot/core/qtviloplotitem.h"
#include "plot/ui/qtviloseriesdata.h"

#include <QPainter>
#include <qwt_series_data.h>

QtViloPlotCurve::QtViloPlotCurve(QtViloPlotItem *item, bool dspResult)
    : QwtPlotCurve(item->name()), m_item(item), m_dspResult(dspResult)
{
    setPaintAttribute(FilterPoints, false); // the column reduction already drops duplicates
    refresh();
}

QtViloPlotCurve::~QtViloPlotCurve()
{
    const QtViloSeriesDataBase *series = seriesData();
    if (series && series->lod())
        series->lod()->retire();
}

const QtViloSeriesDataBase *QtViloPlotCurve::seriesData() const
{
    return dynamic_cast<const QtViloSeriesDataBase *>(data());
}

void QtViloPlotCurve::refresh()
{
    auto *current = const_cast<QtViloSeriesDataBase *>(seriesData());
    if (current && m_dspResult) {
        current->invalidate();
    } else if (!current || current->typeIndex() != m_item->typeIndex()) {
        if (current && current->lod())
            current->lod()->retire(); // a worker may still hold it
        QwtSeriesData<QPointF> *next = createQtViloSeriesData(
            m_item,
            m_dspResult ? QtViloSeriesDataBase::DspResult : QtViloSeriesDataBase::Samples, this);
        if (!next)
            next = new QwtPointSeriesData(); // unknown type: an empty curve
        setData(next);                       // deletes the old data and announces the change
        return;
    }
    dataChanged();
}

void QtViloPlotCurve::drawSeries(QPainter *painter, const QwtScaleMap &xMap,
                                 const QwtScaleMap &yMap, const QRectF &canvasRect, int from,
                                 int to) const
{
    const QtViloSeriesDataBase *series = seriesData();
    const bool plainLines =
        style() == Lines && !testCurveAttribute(Fitted) && brush().style() == Qt::NoBrush;
    if (!series || !plainLines) {
        QwtPlotCurve::drawSeries(painter, xMap, yMap, canvasRect, from, to);
        return;
    }
    series->draw(painter, xMap, yMap, canvasRect, from, to, pen(), symbol());
}

#include "plot/ui/qtviloplotcurve.h"

#include "plot/core/qtviloplotitem.h"
#include "plot/ui/qtviloseriesdata.h"

#include <QPainter>
#include <qwt_series_data.h>

QtViloPlotCurve::QtViloPlotCurve(QtViloPlotItem *item) : QwtPlotCurve(item->name()), m_item(item)
{
    setPaintAttribute(FilterPoints, false); // the column reduction already drops duplicates
    refresh();
}

const QtViloSeriesDataBase *QtViloPlotCurve::seriesData() const
{
    return dynamic_cast<const QtViloSeriesDataBase *>(data());
}

void QtViloPlotCurve::refresh()
{
    const QtViloSeriesDataBase *current = seriesData();
    if (!current || current->typeIndex() != m_item->typeIndex()) {
        QwtSeriesData<QPointF> *next = createQtViloSeriesData(m_item);
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

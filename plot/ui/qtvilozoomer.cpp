// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtvilozoomer.h"

#include <qwt_plot.h>
#include <qwt_scale_div.h>

QtViloZoomer::QtViloZoomer(QWidget *canvas, bool doReplot) : QwtPlotZoomer(canvas, doReplot) {}

QRectF QtViloZoomer::lockedRect(const QRectF &rect) const
{
    QRectF result = rect.normalized();
    const QwtPlot *plot = this->plot();
    if (!plot)
        return result;
    if (m_lockX) {
        const QwtScaleDiv &x = plot->axisScaleDiv(xAxis());
        result.setLeft(qMin(x.lowerBound(), x.upperBound()));
        result.setRight(qMax(x.lowerBound(), x.upperBound()));
    }
    if (m_lockY) {
        const QwtScaleDiv &y = plot->axisScaleDiv(yAxis());
        result.setTop(qMin(y.lowerBound(), y.upperBound()));
        result.setBottom(qMax(y.lowerBound(), y.upperBound()));
    }
    return result;
}

void QtViloZoomer::zoom(const QRectF &rect)
{
    // Both the rubber band and programmatic zooms end here, so the locks hold for either.
    QwtPlotZoomer::zoom(lockedRect(rect));
}

// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <qwt_plot_curve.h>

class QtViloPlotItem;
class QtViloSeriesDataBase;

// The curve of one plot item. It draws from the item's samples by pixel column (see
// QtViloColumnReducer), so the cost of a replot follows the canvas width, not the sample
// count. Styles other than plain lines, fitting and brushes fall back to QwtPlotCurve.
class QtViloPlotCurve : public QwtPlotCurve
{
public:
    enum { Rtti = QwtPlotItem::Rtti_PlotUserItem + 0x5601 };

    // `dspResult`: the curve shows the item's DSP result instead of its samples.
    explicit QtViloPlotCurve(QtViloPlotItem *item, bool dspResult = false);
    // Stops the level-of-detail work on the curve: its item may go soon after.
    ~QtViloPlotCurve() override;

    int rtti() const override { return Rtti; }
    QtViloPlotItem *item() const { return m_item; }
    // Null only when the item's type index is unknown.
    const QtViloSeriesDataBase *seriesData() const;
    bool showsDspResult() const { return m_dspResult; }

    // After the item's data or format changed: new series data when the type changed, and
    // the bounding rectangle and legend brought up to date.
    void refresh();

    // Physical units of one step along each axis, set by the plot's unit selectors: the
    // time (or, on a DSP plot after an FFT, frequency) per sample index and the amplitude
    // per code. The auxiliary axes of the selected curve are scaled by them.
    void setScaleFactors(double timeFactor, double amplitudeFactor)
    {
        m_timeFactor = timeFactor;
        m_amplitudeFactor = amplitudeFactor;
    }
    double timeFactor() const { return m_timeFactor; }
    double amplitudeFactor() const { return m_amplitudeFactor; }
    // Points the curve has: samples on the signal plot, result values on the DSP plot.
    quint64 pointCount() const { return quint64(dataSize()); }
    // The transform size behind a spectrum of this many bins (N / 2 + 1 bins of an N-point
    // real transform): bin k lies at k · rate / N. For other curves the point count.
    quint64 transformSize() const
    {
        const quint64 points = pointCount();
        return m_dspResult && points > 1 ? 2 * (points - 1) : points;
    }

protected:
    void drawSeries(QPainter *painter, const QwtScaleMap &xMap, const QwtScaleMap &yMap,
                    const QRectF &canvasRect, int from, int to) const override;

private:
    QtViloPlotItem *m_item;
    bool m_dspResult;
    double m_timeFactor = 1.0;
    double m_amplitudeFactor = 1.0;
};

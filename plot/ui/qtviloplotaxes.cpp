// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotaxes.h"

#include <QtMath>
#include <qwt_plot.h>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_widget.h>

#include <algorithm>

namespace {

// Ticks at round values of factor × v while the scale itself stays in v.
class FactorScaleEngine : public QwtLinearScaleEngine
{
public:
    explicit FactorScaleEngine(double factor) : m_factor(factor) {}

    void autoScale(int maxNumSteps, double &x1, double &x2, double &stepSize) const override
    {
        double a = x1 * m_factor;
        double b = x2 * m_factor;
        QwtLinearScaleEngine::autoScale(maxNumSteps, a, b, stepSize);
        x1 = a / m_factor;
        x2 = b / m_factor;
        if (x1 > x2)
            std::swap(x1, x2);
        stepSize /= qAbs(m_factor);
    }

    QwtScaleDiv divideScale(double x1, double x2, int maxMajorSteps, int maxMinorSteps,
                            double stepSize = 0.0) const override
    {
        const QwtScaleDiv scaled = QwtLinearScaleEngine::divideScale(
            x1 * m_factor, x2 * m_factor, maxMajorSteps, maxMinorSteps, stepSize * qAbs(m_factor));
        QList<double> ticks[QwtScaleDiv::NTickTypes];
        for (int type = 0; type < QwtScaleDiv::NTickTypes; ++type) {
            for (double tick : scaled.ticks(type))
                ticks[type] << tick / m_factor;
            std::sort(ticks[type].begin(), ticks[type].end());
        }
        return QwtScaleDiv(x1, x2, ticks);
    }

private:
    double m_factor;
};

// Labels v as factor × v, to go with FactorScaleEngine.
class FactorScaleDraw : public QwtScaleDraw
{
public:
    explicit FactorScaleDraw(double factor) : m_factor(factor) {}

    QwtText label(double value) const override
    {
        double shown = value * m_factor;
        // Ticks mapped back and forth pick up rounding noise; zero must still read 0.
        const double range = qAbs(scaleDiv().range() * m_factor);
        if (qAbs(shown) < range * 1e-9)
            shown = 0.0;
        return QwtScaleDraw::label(shown);
    }

private:
    double m_factor;
};

} // namespace

QtViloPlotAxes::QtViloPlotAxes(QwtPlot *plot) : QObject(plot), m_plot(plot)
{
    m_indexTitle = tr("Sample Index");
    m_codeTitle = tr("Amplitude [Codes]");
    connect(plot->axisWidget(QwtPlot::xBottom), &QwtScaleWidget::scaleDivChanged, this,
            &QtViloPlotAxes::onBaseScaleChanged);
    connect(plot->axisWidget(QwtPlot::yLeft), &QwtScaleWidget::scaleDivChanged, this,
            &QtViloPlotAxes::onBaseScaleChanged);
}

void QtViloPlotAxes::setTimeScale(double factor, const QString &title)
{
    m_timeFactor = factor;
    m_timeTitle = title;
}

void QtViloPlotAxes::setAmplitudeScale(double factor, const QString &title)
{
    m_amplitudeFactor = factor;
    m_amplitudeTitle = title;
}

void QtViloPlotAxes::setBaseTitles(const QString &indexTitle, const QString &codeTitle)
{
    m_indexTitle = indexTitle;
    m_codeTitle = codeTitle;
}

double QtViloPlotAxes::drawableFactor(double factor)
{
    return qIsFinite(factor) && factor != 0.0 ? factor : 1.0;
}

void QtViloPlotAxes::apply(bool replot)
{
    const bool swapX = m_options[IndexTimeSwap];
    const bool swapY = m_options[CodeUnitSwap];
    const bool showBase = m_options[IndexCodeAxis];

    m_plot->setAxisTitle(QwtPlot::xBottom, swapX ? m_timeTitle : m_indexTitle);
    m_plot->setAxisTitle(QwtPlot::xTop, swapX ? m_indexTitle : m_timeTitle);
    m_plot->setAxisTitle(QwtPlot::yLeft, swapY ? m_amplitudeTitle : m_codeTitle);
    m_plot->setAxisTitle(QwtPlot::yRight, swapY ? m_codeTitle : m_amplitudeTitle);

    m_plot->enableAxis(QwtPlot::xBottom, swapX ? m_options[TimeAxis] : showBase);
    m_plot->enableAxis(QwtPlot::xTop, swapX ? showBase : m_options[TimeAxis]);
    m_plot->enableAxis(QwtPlot::yLeft, swapY ? m_options[UnitAxis] : showBase);
    m_plot->enableAxis(QwtPlot::yRight, swapY ? showBase : m_options[UnitAxis]);

    setFactorScale(QwtPlot::xBottom, swapX ? drawableFactor(m_timeFactor) : 1.0);
    setFactorScale(QwtPlot::yLeft, swapY ? drawableFactor(m_amplitudeFactor) : 1.0);
    onBaseScaleChanged();
    if (replot)
        m_plot->replot();
}

void QtViloPlotAxes::setFactorScale(int axis, double factor)
{
    if (factor == m_baseFactor[axis])
        return;
    m_baseFactor[axis] = factor;
    // A new engine recomputes the ticks of the same range on the next replot.
    if (factor == 1.0) {
        m_plot->setAxisScaleEngine(axis, new QwtLinearScaleEngine);
        m_plot->setAxisScaleDraw(axis, new QwtScaleDraw);
    } else {
        m_plot->setAxisScaleEngine(axis, new FactorScaleEngine(factor));
        m_plot->setAxisScaleDraw(axis, new FactorScaleDraw(factor));
    }
}

void QtViloPlotAxes::onBaseScaleChanged()
{
    // Called from within the plot's axis update: xTop and yRight come after xBottom and yLeft
    // in its loop, so the ranges set here are used in the same replot.
    const double top = m_options[IndexTimeSwap] ? 1.0 : drawableFactor(m_timeFactor);
    const double right = m_options[CodeUnitSwap] ? 1.0 : drawableFactor(m_amplitudeFactor);
    const QwtScaleDiv &x = m_plot->axisScaleDiv(QwtPlot::xBottom);
    const QwtScaleDiv &y = m_plot->axisScaleDiv(QwtPlot::yLeft);
    m_plot->setAxisScale(QwtPlot::xTop, x.lowerBound() * top, x.upperBound() * top);
    m_plot->setAxisScale(QwtPlot::yRight, y.lowerBound() * right, y.upperBound() * right);
}

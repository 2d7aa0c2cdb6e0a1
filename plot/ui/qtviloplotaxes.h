// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

class QwtPlot;

// The four axes of a plot whose curves are drawn against sample index (xBottom) and code
// (yLeft): the index and code axes, and the auxiliary time and unit axes that show the same
// range times the selected curve's factors.
//
// Curves always stay attached to xBottom/yLeft. Swapping a pair swaps titles and tick labels
// between the two sides: the bottom axis then keeps its index range but puts its ticks at round
// values of the time and labels them in time, while the top axis shows plain indices.
class QtViloPlotAxes : public QObject
{
    Q_OBJECT

public:
    enum Option { IndexCodeAxis, TimeAxis, UnitAxis, CodeUnitSwap, IndexTimeSwap, OptionCount };

    explicit QtViloPlotAxes(QwtPlot *plot);

    bool option(Option which) const { return m_options[which]; }
    void setOption(Option which, bool on) { m_options[which] = on; }

    // Physical units of one index step and of one code, with the titles of their axes.
    void setTimeScale(double factor, const QString &title);
    void setAmplitudeScale(double factor, const QString &title);
    void setBaseTitles(const QString &indexTitle, const QString &codeTitle);

    double timeFactor() const { return m_timeFactor; }
    double amplitudeFactor() const { return m_amplitudeFactor; }
    QString timeTitle() const { return m_timeTitle; }
    QString amplitudeTitle() const { return m_amplitudeTitle; }

    // Brings the plot's axes in line with the options and scales; replots unless the caller
    // is about to.
    void apply(bool replot = true);

    // A factor the axes can draw with: infinite, NaN or 0 factors (a gain of 0, an unknown
    // sample rate) draw as 1, so the axis stays readable instead of collapsing.
    static double drawableFactor(double factor);

private:
    void onBaseScaleChanged();
    void setFactorScale(int axis, double factor);

    QwtPlot *m_plot;
    bool m_options[OptionCount] = {true, false, false, false, false};
    double m_timeFactor = 1.0;
    double m_amplitudeFactor = 1.0;
    QString m_timeTitle;
    QString m_amplitudeTitle;
    QString m_indexTitle;
    QString m_codeTitle;
    // Factor of the ticks of xBottom and yLeft, by axis id (1 unless a pair is swapped).
    double m_baseFactor[4] = {1.0, 1.0, 1.0, 1.0};
};

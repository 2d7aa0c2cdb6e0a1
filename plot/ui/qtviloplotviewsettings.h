// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QColor>
#include <QString>

// The cached options of one plot view (legend, zoom resets, overlay, curve style), stored in
// the group "QtVilo<Name>PlotSettingsValues" with the plot's name as the prefix of its own keys.
struct QtViloPlotViewSettings
{
    bool legendEnable = false;
    int legendPosition = 1; // QwtPlot::LegendPosition: left 0, right 1, bottom 2, top 3
    bool legendItemEnable = false;
    int legendItemColumns = 1;
    int legendItemAlignment = 0x0042; // Qt::AlignBottom | Qt::AlignRight: clear of the readout
    QColor legendItemBackground = QColor(255, 255, 255, 210);
    int legendItemSize = 8; // point size of the in-canvas legend's font
    bool newCurveZoomReset = true;
    bool visRescale = true;
    bool rePlotZoomReset = false;
    bool showMaxMin = false;
    int lineWidth = 1;  // pixels
    int symbolSize = 0; // pixels; 0 draws no symbols

    bool operator==(const QtViloPlotViewSettings &other) const;
    bool operator!=(const QtViloPlotViewSettings &other) const { return !(*this == other); }
};

// `name` is "Signal" or "Dsp".
QtViloPlotViewSettings loadPlotViewSettings(const QString &name);
void savePlotViewSettings(const QString &name, const QtViloPlotViewSettings &values);

// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QMetaType>

// Settings of one plot widget that travel between the plot list and its views.
struct QtViloPlotSettings
{
    bool SignalPlotEnabled = true;
    bool LegendVisible = true;
    bool GridVisible = true;
    int TimeUnit = 0;
    int AmplitudeUnit = 0;
    int FrequencyUnit = 0;
};
Q_DECLARE_METATYPE(QtViloPlotSettings)

// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

// Physical units of the plots' auxiliary axes: the unit menus, the factor that turns one
// sample step or one code into the chosen unit, and the axis titles.
namespace QtViloPlotUnits {

struct Scale
{
    double factor = 1.0;
    QString unit;
};

// Menu entries, in menu order. A unit text is matched exactly against these.
QStringList timeUnitEntries();
QStringList amplitudeUnitEntries();
QStringList frequencyUnitEntries();

// Time between two samples in the chosen unit ("ps" … "s"; unknown texts give seconds).
Scale timeScale(double sampleRate, const QString &unitText);
// Voltage of one code in the chosen unit ("μV", "mV", "V"); a gain of 0 gives infinity.
Scale amplitudeScale(int resolution, double inputRange, double gain, const QString &unitText);
// Width of one FFT bin over pointCount points ("GHz", "MHz", "kHz", else "Hz").
Scale frequencyScale(double sampleRate, quint64 pointCount, const QString &unitText);

// Correctly rounded also for values of 2^63 and above.
double toDouble(quint64 value);

QString timeAxisTitle(const QString &unit);
QString amplitudeAxisTitle(const QString &unit);
QString frequencyAxisTitle(const QString &unit);

} // namespace QtViloPlotUnits

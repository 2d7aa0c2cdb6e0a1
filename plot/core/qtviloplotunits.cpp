// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtviloplotunits.h"

#include <QCoreApplication>

#include <cmath>

namespace QtViloPlotUnits {
namespace {

const char *const Context = "QtViloPlotUnits";

// Menu texts and their units, in menu order; the last row is the fallback unit.
struct Entry
{
    const char *text;
    const char *unit;
    double value; // divisor of times and frequencies, multiplier of volts
};

// The micro and milli divisors are the doubles one step above 1e-6 and 1e-3, as the axes
// have always shown them.
const Entry TimeEntries[] = {
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Time in Pico Seconds"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "ps"), 1e-12},
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Time in Nano Seconds"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "ns"), 1e-9},
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Time in Micro Seconds"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "\u03bcs"), 1.0000000000000002e-6},
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Time in Milli Seconds"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "ms"), 0.0010000000000000002},
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Time in Seconds"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "s"), 1.0},
};

const Entry AmplitudeEntries[] = {
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Ampl in Micro Volts"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "\u03bcV"), 1e6},
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Ampl in Milli Volts"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "mV"), 1000.0},
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Ampl in Volts"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "V"), 1.0},
};

// Hertz has no menu entry of its own; it is only the fallback.
const Entry FrequencyEntries[] = {
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Frequency in GHz"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "GHz"), 1e9},
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Frequency in MHz"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "MHz"), 1e6},
    {QT_TRANSLATE_NOOP("QtViloPlotUnits", "Frequency in kHz"),
     QT_TRANSLATE_NOOP("QtViloPlotUnits", "kHz"), 1000.0},
    {nullptr, QT_TRANSLATE_NOOP("QtViloPlotUnits", "Hz"), 1.0},
};

QString tr(const char *text)
{
    return QCoreApplication::translate(Context, text);
}

template <size_t Count> QStringList entriesOf(const Entry (&entries)[Count])
{
    QStringList list;
    for (const Entry &entry : entries) {
        if (entry.text)
            list << tr(entry.text);
    }
    return list;
}

// The fixed text or its translation selects a row; anything else the last one.
template <size_t Count> const Entry &find(const Entry (&entries)[Count], const QString &text)
{
    for (const Entry &entry : entries) {
        if (entry.text && (text == QLatin1String(entry.text) || text == tr(entry.text)))
            return entry;
    }
    return entries[Count - 1];
}

} // namespace

QStringList timeUnitEntries()
{
    return entriesOf(TimeEntries);
}

QStringList amplitudeUnitEntries()
{
    return entriesOf(AmplitudeEntries);
}

QStringList frequencyUnitEntries()
{
    return entriesOf(FrequencyEntries);
}

Scale timeScale(double sampleRate, const QString &unitText)
{
    const Entry &entry = find(TimeEntries, unitText);
    return {1.0 / sampleRate / entry.value, tr(entry.unit)};
}

Scale amplitudeScale(int resolution, double inputRange, double gain, const QString &unitText)
{
    const Entry &entry = find(AmplitudeEntries, unitText);
    // Half the peak-to-peak range over half the code range.
    const double voltsPerCode = 0.5 * inputRange / std::ldexp(1.0, resolution - 1) / gain;
    return {voltsPerCode * entry.value, tr(entry.unit)};
}

Scale frequencyScale(double sampleRate, quint64 pointCount, const QString &unitText)
{
    const Entry &entry = find(FrequencyEntries, unitText);
    return {sampleRate / toDouble(pointCount) / entry.value, tr(entry.unit)};
}

double toDouble(quint64 value)
{
    if (value < (quint64(1) << 63))
        return double(qint64(value));
    // The kept low bit makes the halved value round as the full one would (round to odd).
    return double(qint64((value >> 1) | (value & 1))) * 2.0;
}

QString timeAxisTitle(const QString &unit)
{
    return QCoreApplication::translate(Context, "Time [%1]").arg(unit);
}

QString amplitudeAxisTitle(const QString &unit)
{
    return QCoreApplication::translate(Context, "Amplitude [%1]").arg(unit);
}

QString frequencyAxisTitle(const QString &unit)
{
    return QCoreApplication::translate(Context, "Freq [%1]").arg(unit);
}

} // namespace QtViloPlotUnits

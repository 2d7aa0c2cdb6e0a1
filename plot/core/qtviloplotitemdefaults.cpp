// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtviloplotitemdefaults.h"

#include "plot/core/qtviloformats.h"

#include <QSettings>

bool QtViloPlotItemDefaults::operator==(const QtViloPlotItemDefaults &other) const
{
    return Format == other.Format && Step == other.Step && FileOffset == other.FileOffset &&
           DataOffset == other.DataOffset && MaxPlotSize == other.MaxPlotSize &&
           SampleRate == other.SampleRate && SampleResolution == other.SampleResolution &&
           InputRange == other.InputRange && Gain == other.Gain;
}

namespace {

const QString Group = QStringLiteral("QtViloPlotItemDefaultValues");

// The deliberate narrowing on load: the stored value goes through a 32-bit int. Taken as a
// 64-bit number first and then cut, so the result is the same whether the store still holds
// the 64-bit value written in this run or the text read back from the file after a restart.
qint64 narrowed(const QVariant &value)
{
    return qint32(quint32(value.toLongLong()));
}

} // namespace

QtViloPlotItemDefaults loadPlotItemDefaults()
{
    const QtViloPlotItemDefaults initial;
    QtViloPlotItemDefaults d;
    QSettings settings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"));
    settings.beginGroup(Group);
    const QString format = settings.value(QStringLiteral("Format"), initial.Format).toString();
    d.Format = QtViloFormats::indexOfDisplay(format) >= 0 ? format : initial.Format;
    d.Step = settings.value(QStringLiteral("Step"), initial.Step).toInt();
    d.FileOffset = narrowed(settings.value(QStringLiteral("FileOffset"), initial.FileOffset));
    d.DataOffset = narrowed(settings.value(QStringLiteral("DataOffset"), initial.DataOffset));
    d.MaxPlotSize = narrowed(settings.value(QStringLiteral("MaxPlotSize"), initial.MaxPlotSize));
    d.SampleRate = settings.value(QStringLiteral("SampleRate"), initial.SampleRate).toDouble();
    d.SampleResolution =
        settings.value(QStringLiteral("SampleResolution"), initial.SampleResolution).toInt();
    d.InputRange = settings.value(QStringLiteral("InputRange"), initial.InputRange).toDouble();
    d.Gain = settings.value(QStringLiteral("Gain"), initial.Gain).toDouble();
    settings.endGroup();
    return d;
}

void savePlotItemDefaults(const QtViloPlotItemDefaults &d)
{
    QSettings settings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"));
    settings.beginGroup(Group);
    settings.setValue(QStringLiteral("Format"), d.Format);
    settings.setValue(QStringLiteral("Step"), d.Step);
    settings.setValue(QStringLiteral("FileOffset"), qlonglong(d.FileOffset));
    settings.setValue(QStringLiteral("DataOffset"), qlonglong(d.DataOffset));
    settings.setValue(QStringLiteral("MaxPlotSize"), qlonglong(d.MaxPlotSize));
    settings.setValue(QStringLiteral("SampleRate"), d.SampleRate);
    settings.setValue(QStringLiteral("SampleResolution"), d.SampleResolution);
    settings.setValue(QStringLiteral("InputRange"), d.InputRange);
    settings.setValue(QStringLiteral("Gain"), d.Gain);
    settings.endGroup();
}

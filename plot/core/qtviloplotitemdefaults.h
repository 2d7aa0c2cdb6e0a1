// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtvilosizetext.h"

#include <QMetaType>
#include <QString>

// The read parameters a new plot item starts with.
struct QtViloPlotItemDefaults
{
    QString Format = QStringLiteral("Int16");
    qint32 Step = 1;
    qint64 FileOffset = 0;
    qint64 DataOffset = 0;
    // The whole of any file the list accepts: no accepted file holds more samples than bytes.
    // Still below 2^31, so the narrowing on load keeps it.
    qint64 MaxPlotSize = QtViloSizeText::LargeFileLimit;
    double SampleRate = 1.0;
    qint32 SampleResolution = 16;
    double InputRange = 1.0;
    double Gain = 1.0;

    bool operator==(const QtViloPlotItemDefaults &other) const;
    bool operator!=(const QtViloPlotItemDefaults &other) const { return !(*this == other); }
};
Q_DECLARE_METATYPE(QtViloPlotItemDefaults)

// Settings "OKAV"/"vrxassist", group "QtViloPlotItemDefaultValues", one key per member name.
// Missing keys give the member initialisers above; an unknown format text keeps "Int16".
// FileOffset, DataOffset and MaxPlotSize are written as 64-bit values but read back through a
// 32-bit conversion (deliberate): values above 2147483647 do not survive.
QtViloPlotItemDefaults loadPlotItemDefaults();
void savePlotItemDefaults(const QtViloPlotItemDefaults &defaults);

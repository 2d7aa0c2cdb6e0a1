#pragma once

#include <QMetaType>
#include <QString>

// The read parameters a new plot item starts with.
struct QtViloPlotItemDefaults
{
    QString Format = QStringLiteral("Int16");
    qint32 Step = 1;
    qint64 FileOffset = 0;
    qint64 DataOffset = 0;
    qint64 MaxPlotSize = 1000000;
    double SampleRate = 1.0;
    qint32 SampleResolution = 16;
    double InputRange = 1.0;
    double Gain = 1.0;

    bool operator==(const QtViloPlotItemDefaults &other) const;
    bool operator!=(const QtViloPlotItemDefaults &other) const { return !(*this == other); }
};
Q_DECLARE_METATYPE(QtViloPlotItemDefaults)
